// From the recogniser's result texts to the published recognition and dialog decision.
//
// Result texts come from outside the library: members of a wrong type count as what cJSON reads
// from them (0 for a number), and cost at most the one result.
#include "src/dms/dms_record.h"
#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace vantel::dms
{
namespace
{

constexpr char kGrammarLabel[] = "grammar";
constexpr char kNgramLabel[] = "ngram";
constexpr char kKeepDialogOpen[] = R"({"dm":{"shouldEndSession":false}})";

enum class Stage { finished, partial, unknown };

// "eof" decides; "var" only where it says neither.
Stage stageOf(const cJSON *result)
{
    const int eof = jsonInt(result, "eof", -1);
    if (eof == 1) return Stage::finished;
    if (eof == 0 || jsonInt(result, "var", 1) == 0) return Stage::partial;
    return Stage::unknown;
}

// The recognised words without needless blanks and without the end of the wakeup word; nothing
// when there is no memory.
std::optional<std::string> finalText(const DmsRecord *record, const char *words)
{
    std::vector<char> tidy(std::strlen(words) + 1);
    if (normaliseSpacing(words, tidy.data(), static_cast<int32_t>(tidy.size())) != 0)
        return std::nullopt;
    if (!record->subsets) return tidy.data();
    LDM_LOG(kInfo, "  %s words subsets: %s\n", kLdmTag, record->subsets->c_str());
    return std::string(withoutWakeupTail(tidy.data(), *record->subsets));
}

void addCopy(cJSON *output, const char *key, const cJSON *value)
{
    jsonAdd(output, key, Json{cJSON_Duplicate(value, true)});
}

void addDetails(cJSON *output, const cJSON *result)
{
    if (const char *pinyin = jsonString(result, "pinyin"))
        cJSON_AddStringToObject(output, "pinyin", pinyin);
    if (const cJSON *confidence = jsonMember(result, "conf"))
        cJSON_AddNumberToObject(output, "conf", confidence->valuedouble);
    if (const cJSON *post = jsonMember(result, "post")) addCopy(output, "post", post);
}

// The "dm" object of a decision; one of another type gives way to an empty one.
cJSON *dialogObject(cJSON *decision)
{
    cJSON *dialog = cJSON_GetObjectItem(decision, "dm");
    if (cJSON_IsObject(dialog)) return dialog;
    cJSON_DeleteItemFromObject(decision, "dm");
    return cJSON_AddObjectToObject(decision, "dm");
}

// The recogniser's semantic output, or else an empty object, with the two members that the dialog
// side looks for at the end of its "dm".
HeapText decisionText(const cJSON *result, const std::optional<std::string> &text)
{
    const cJSON *semantics = jsonObject(jsonMember(result, "post"), "sem");
    Json decision{semantics ? cJSON_Duplicate(semantics, true) : cJSON_CreateObject()};
    cJSON *dialog = dialogObject(decision.get());
    const bool endsSession = !jsonIs(dialog, "shouldEndSession", "false");
    jsonRemove(dialog, "shouldEndSession");
    cJSON_AddBoolToObject(dialog, "shouldEndSession", endsSession);
    if (text) {
        jsonRemove(dialog, "input"); // a grammar's own would be found first
        cJSON_AddStringToObject(dialog, "input", text->c_str());
    }
    return jsonPrint(decision.get());
}

struct Outcome {
    int32_t result;
    HeapText decision; // of a final result
};

// The grammar's result comes first; the statistical one is asked when that one fails.
Outcome pickResult(const DmsRecord *record, const cJSON *parsed, cJSON *output)
{
    if (!parsed) return {kAsrLowConfidence, {}};
    Outcome outcome{0, {}};
    auto parse = [&](const cJSON *result, const char *label) {
        outcome.result = parseAsrResult(record, result, output, &outcome.decision, label);
    };
    const cJSON *grammar = jsonMember(parsed, "grammar");
    const cJSON *ngram = jsonMember(parsed, "ngram");
    if (grammar) {
        parse(grammar, kGrammarLabel);
        LDM_LOG(kInfo, "  %s mix gram parse ret: %d\n", kLdmTag, outcome.result);
    }
    if (ngram && (!grammar || outcome.result != 0)) {
        parse(ngram, kNgramLabel);
        LDM_LOG(kInfo, "  %s mix ngram parse ret: %d\n", kLdmTag, outcome.result);
    }
    if (!grammar && !ngram) {
        parse(parsed, kGrammarLabel);
        LDM_LOG(kInfo, "  %s not mix parse ret: %d\n", kLdmTag, outcome.result);
    }
    return outcome;
}

void publishRecognition(DmsRecord *record, const cJSON *output, const char *decision)
{
    if (HeapText text = jsonPrint(output)) {
        publishText(record->node, topics::kLocalAsrResult, text.get());
    } else {
        LDM_LOG(kWarning, "  %s maloc failed\n", kLdmTag);
    }
    if (decision) publishText(record->node, topics::kLocalDmResult, decision);
    record->retryCount = 0;
}

// The dialog is kept open for another try as often in a row as the configuration says.
void publishFailure(DmsRecord *record, int32_t result)
{
    if (record->retryCount < record->retryTimes) {
        ++record->retryCount;
        publishText(record->node, topics::kLocalDmResult, kKeepDialogOpen);
        return;
    }
    publishError(record->node, result == kAsrNoText ? VANTEL_ERROR_LOCAL_ASR_NULL
                                                    : VANTEL_ERROR_LOCAL_ASR_CONFIDENCE);
    record->retryCount = 0;
}

bool isFinal(const cJSON *parsed)
{
    for (const char *kind : {kGrammarLabel, kNgramLabel})
        if (const cJSON *result = jsonMember(parsed, kind))
            return stageOf(result) == Stage::finished;
    return stageOf(parsed) == Stage::finished;
}

// The recogniser has found the end of speech before the detector: the turn goes on as if it were
// the detector's. That one is in the middle of speech that is over; it stops, and where it hears on
// through the whole dialog begins anew.
void endSpeech(DmsRecord *record)
{
    publishText(record->node, topics::kVadControl, R"({"operation":"stop"})");
    if (record->fullDuplex)
        publishText(record->node, topics::kVadControl, R"({"operation":"start"})");
    publishText(record->node, topics::kVadEnd, R"({"status":2})");
}

void handleResult(DmsRecord *record, const std::string &text)
{
    Json output{cJSON_CreateObject()};
    Json parsed = jsonParse(text.c_str());
    if (record->earlyEnd && record->isFeeding && isFinal(parsed.get())) endSpeech(record);
    Outcome outcome = pickResult(record, parsed.get(), output.get());
    if (outcome.result == 0) {
        publishRecognition(record, output.get(), outcome.decision.get());
    } else {
        publishFailure(record, outcome.result);
    }
}

} // namespace

int32_t asrHandler(void *user, int32_t kind, const void *data, int32_t length)
{
    if (kind != 0 || !data) return 0;
    // A text without a byte is no JSON, and so a failed result like any other.
    const int bytes = std::max(length, 0);
    withoutThrowing(kDmsLog, [=, record = static_cast<DmsRecord *>(user)] {
        const char *begin = static_cast<const char *>(data);
        LDM_LOG(kInfo, "  %s coreAsr result %.*s\n", kLdmTag, bytes, begin);
        handleResult(record, std::string(begin, static_cast<size_t>(bytes)));
    });
    return 0;
}

int32_t parseAsrResult(const DmsRecord *record, const cJSON *result, cJSON *output,
                       HeapText *decision, const char *label)
{
    const char *words = jsonString(result, "rec");
    if (!words || *words == '\0') {
        LDM_LOG(kError, "  %s %s asr is null\n", kLdmTag, label);
        return kAsrNoText;
    }
    const cJSON *confidence = jsonMember(result, "conf");
    if (confidence && static_cast<double>(record->asrConfidence) > confidence->valuedouble) {
        LDM_LOG(kError, "  %s %s asr drop, conf:%f\n", kLdmTag, label, confidence->valuedouble);
        return kAsrLowConfidence;
    }
    const Stage stage = stageOf(result);
    std::optional<std::string> text;
    if (stage == Stage::finished) {
        text = finalText(record, words);
        if (text) cJSON_AddStringToObject(output, "text", text->c_str());
        cJSON_AddNumberToObject(output, "eof", 1);
    } else if (stage == Stage::partial) {
        cJSON_AddStringToObject(output, "var", words);
        cJSON_AddNumberToObject(output, "eof", 0);
    }
    addDetails(output, result);
    if (stage == Stage::finished) *decision = decisionText(result, text);
    return 0;
}

} // namespace vantel::dms
