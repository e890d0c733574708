#include "ostrel/asr/asr_options.h"

#include "ostrel/library.h"

#include <algorithm>
#include <cstring>

#define OPTIONS_LOG(level, ...) ENGINE_LOG("ostrel/asr_options", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

std::string textOr(const cJSON *object, const char *key, const std::string &fallback)
{
    const char *text = jsonString(object, key);
    return text ? text : fallback;
}

double numberOr(const cJSON *object, const char *key, double fallback)
{
    const cJSON *member = jsonMember(object, key);
    return cJSON_IsNumber(member) ? member->valuedouble : fallback;
}

// A number is what somebody sets who means the threshold, which is none of the engine's.
std::optional<ConfidenceScale> readScale(const cJSON *configuration)
{
    if (jsonMember(configuration, "confidence"))
        OPTIONS_LOG(kWarning, "  \"confidence\" is no setting of the recogniser: its scale is "
                              "\"confidenceScale\", the threshold is set while it runs\n");
    const cJSON *scale = jsonMember(configuration, "confidenceScale");
    if (!scale) return std::nullopt;
    if (!cJSON_IsObject(scale)) {
        OPTIONS_LOG(kWarning, "  \"confidenceScale\" is no object, left as it is\n");
        return std::nullopt;
    }
    return ConfidenceScale{numberOr(scale, "all", kScaleAlone.all),
                           numberOr(scale, "words", kScaleAlone.words),
                           numberOr(scale, "agreement", kScaleAlone.agreement),
                           numberOr(scale, "offset", kScaleAlone.offset)};
}

struct NgramName {
    const char *name;
    NgramSource source;
};

constexpr NgramName kNgramNames[] = {
    {"auto", NgramSource::whenPresent},
    {"moonshine", NgramSource::transcriber},
    {"none", NgramSource::none},
};

bool readNgram(const cJSON *configuration, NgramSource *source)
{
    const char *name = jsonString(configuration, "ngram");
    if (!name) return true;
    for (const NgramName &known : kNgramNames) {
        if (std::strcmp(known.name, name) != 0) continue;
        *source = known.source;
        return true;
    }
    OPTIONS_LOG(kError, "  \"ngram\" is auto, moonshine or none, not %s\n", name);
    return false;
}

bool isOn(const std::string &value)
{
    return value != "0" && value != "false" && value != "no" && value != "off";
}

struct Switch {
    const char *name;
    bool StartOptions::*member;
};

constexpr Switch kSwitches[] = {
    {"use_xbnf_rec", &StartOptions::grammar},
    {"use_ngram", &StartOptions::ngram},
    {"use_pinyin", &StartOptions::pinyin},
};

// Takes "name=value;" from the front of *pairs.
void takePair(std::string *pairs, std::string *name, std::string *value)
{
    size_t equals = std::min(pairs->find_first_of("=;"), pairs->size());
    *name = pairs->substr(0, equals);
    pairs->erase(0, equals);
    value->clear();
    if (!pairs->empty() && (*pairs)[0] == '=') pairs->erase(0, 1);
    if (!pairs->empty() && (*pairs)[0] == '\\') pairs->erase(0, 1);
    if (!pairs->empty() && (*pairs)[0] == '"') {
        size_t end = std::min(pairs->find('"', 1), pairs->size());
        *value = pairs->substr(1, end - 1);
        if (!value->empty() && value->back() == '\\') value->pop_back();
        pairs->erase(0, end);
    }
    size_t end = std::min(pairs->find(';'), pairs->size());
    if (value->empty()) *value = pairs->substr(0, end);
    pairs->erase(0, end + 1);
}

} // namespace

bool readAsrOptions(const char *configuration, AsrOptions *options)
{
    Json root = jsonParse(configuration);
    if (!cJSON_IsObject(root.get())) {
        OPTIONS_LOG(kError, "  the recogniser's configuration is no JSON object\n");
        return false;
    }
    *options = {};
    options->grammarName = textOr(root.get(), "grammar", "");
    options->grammarFile = textOr(root.get(), "grammarFile", "");
    options->engine = textOr(root.get(), "engine", kAnyEngine);
    options->acousticModel = textOr(root.get(), "hmm", "");
    options->streamingModel = textOr(root.get(), "streamingModel", "");
    options->partials = !cJSON_IsFalse(jsonMember(root.get(), "partials"));
    options->earlyEnd = cJSON_IsTrue(jsonMember(root.get(), "earlyEnd"));
    options->continuous = cJSON_IsTrue(jsonMember(root.get(), "continuous"));
    options->limitMs = jsonInt(root.get(), "limit", options->limitMs);
    options->scale = readScale(root.get());
    options->verify = cJSON_IsTrue(jsonMember(root.get(), "verify"));
    options->showFit = cJSON_IsTrue(jsonMember(root.get(), "showFit"));
    return readNgram(root.get(), &options->ngram);
}

StartOptions readStartOptions(const char *startText)
{
    StartOptions options;
    Json root = jsonParse(startText);
    const char *env = jsonString(root.get(), "env");
    if (startText && !env) OPTIONS_LOG(kWarning, "  start text without \"env\": %s\n", startText);
    std::string pairs = env ? env : "";
    while (!pairs.empty()) {
        std::string name;
        std::string value;
        takePair(&pairs, &name, &value);
        for (const Switch &known : kSwitches)
            if (name == known.name) options.*known.member = isOn(value);
    }
    return options;
}

} // namespace vantel::ostrel
