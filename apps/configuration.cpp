#include "apps/configuration.h"

#include "apps/config_check.h"
#include "apps/input_text.h"
#include "apps_grammars.h"
#include "tools/read_file.h"

#include <cstdio>

namespace vantel::app
{
namespace
{

constexpr char kBuiltIn[] = R"json({
    "deviceId": "vantel-tool",
    "vad": {"pauseTime": 500},
    "gram": {"name": "demo"},
    "asr": {"grammar": "demo"}
})json";

void setText(cJSON *object, const char *key, const char *text)
{
    cJSON_DeleteItemFromObject(object, key);
    cJSON_AddStringToObject(object, key, text);
}

// The member of that name, which is made or replaced when it is no object.
cJSON *objectIn(cJSON *parent, const char *key)
{
    cJSON *object = cJSON_GetObjectItem(parent, key);
    if (cJSON_IsObject(object)) return object;
    cJSON_DeleteItemFromObject(parent, key);
    return cJSON_AddObjectToObject(parent, key);
}

bool chooseGrammar(const RunOptions &options, cJSON *parameters, std::string *error)
{
    if (options.grammarPath.empty()) {
        if (options.configurationPath.empty())
            setText(objectIn(parameters, "gram"), "text",
                    options.language == "zh" ? kChineseGrammar : kEnglishGrammar);
        return true;
    }
    cJSON *grammar = cJSON_GetObjectItem(parameters, "gram");
    std::string ignored;
    if (!readFile(options.grammarPath, &ignored, kLongestTextBytes)) {
        *error = options.grammarPath + ": cannot be read";
    } else if (!cJSON_IsObject(grammar)) {
        *error = "the configuration has no \"gram\" object to take the grammar";
    } else {
        setText(grammar, "file", options.grammarPath.c_str()); // comes before a "text"
    }
    return error->empty();
}

// What would only end in silence.
bool canHear(const RunOptions &options, const cJSON *parameters, std::string *error)
{
    if (!jsonObject(parameters, "vad")) {
        *error = options.configurationPath + ": without an object \"vad\" no speech is detected";
        return false;
    }
    if (!jsonObject(parameters, "asr"))
        std::fprintf(stderr, "vantel: %s: without an object \"asr\" nothing is recognised\n",
                     options.configurationPath.c_str());
    return true;
}

} // namespace

Json readConfiguration(const std::string &path, std::string *error)
{
    std::string text;
    if (!readInput(path, &text)) {
        *error = path + ": cannot be read";
        return {};
    }
    text = withoutComments(std::move(text));
    const char *end = nullptr;
    Json object{cJSON_ParseWithOpts(text.c_str(), &end, 0)};
    if (!object) {
        *error = path + ":" + placeOf(text, static_cast<size_t>(end - text.c_str())) +
                 ": this is not JSON";
    } else if (!cJSON_IsObject(object.get())) {
        *error = path + ": not a JSON object";
        object.reset();
    }
    return object;
}

bool loadConfiguration(const RunOptions &options, Configuration *out, std::string *error)
{
    out->parameters = options.configurationPath.empty()
                          ? jsonParse(kBuiltIn)
                          : readConfiguration(options.configurationPath, error);
    cJSON *parameters = out->parameters.get();
    if (parameters && !options.configurationPath.empty())
        for (const std::string &complaint : configComplaints(parameters))
            complain(options.configurationPath + ": " + complaint);
    if (!parameters || !chooseGrammar(options, parameters, error) ||
        !canHear(options, parameters, error))
        return false;
    // The tool is the recorder and the player.
    setText(objectIn(parameters, "recorder"), "mode", "external");
    setText(objectIn(parameters, "player"), "mode", "external");
    if (options.isFullDuplex) {
        setText(parameters, "fullDuplex", "true");
        cJSON *vad = objectIn(parameters, "vad");
        cJSON_DeleteItemFromObject(vad, "fullMode");
        cJSON_AddNumberToObject(vad, "fullMode", 1);
    }
    out->initialisation.reset(cJSON_DetachItemFromObject(parameters, "init"));
    if (!cJSON_IsObject(out->initialisation.get())) out->initialisation.reset(cJSON_CreateObject());
    return true;
}

} // namespace vantel::app
