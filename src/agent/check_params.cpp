// Whether the parameters of a request are as they should be: a table of rules for each request.
#include "src/agent/check_params.h"

#include "src/agent/agent_record.h"
#include "src/agent/error_report.h"
#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "tools/json.h"
#include "tools/printf_format.h"

#include <cstdarg>
#include <cstdio>
#include <span>

#define CHECK_LOG(level, ...) VANTEL_LOG("src/agent/checkParams", level, __VA_ARGS__)

namespace vantel
{
namespace
{

constexpr char kTag[] = "ZQ-MM";

enum class Kind { filledString, string, number, array };

// A member that must be there, and what is said when it is not or is of another kind. "%s" of every
// message in this file is the whole text that the host gave.
struct MemberRule {
    const char *key;
    Kind kind;
    const char *message;
};

using MemberRules = std::span<const MemberRule>;

constexpr MemberRule kWakeupWord[] = {
    {"wakeupWord", Kind::filledString, "wakeupWord is must %s"},
    {"pinyin", Kind::filledString, "pinyin is must %s"},
    {"thresh", Kind::filledString, "thresh is must %s"},
    {"type", Kind::filledString, "type is must %s"},
};
constexpr MemberRule kEvaluation[] = {
    {"keyWords", Kind::filledString, "keyWords is must %s"},
};
constexpr MemberRule kInputText[] = {
    {"text", Kind::filledString, "text_js is must %s"},
};
constexpr MemberRule kIntent[] = {
    {"skill", Kind::filledString, "skill is must %s"},
    {"task", Kind::filledString, "task_js is must %s"},
    {"intent", Kind::filledString, "intent_js is must %s"},
};
constexpr MemberRule kSpeech[] = {
    {"operation", Kind::filledString, "operation_js is must %s"},
    {"nlg", Kind::filledString, "nlg_js is must %s"},
    {"speed", Kind::number, "speed_js is must %s"},
    {"volume", Kind::number, "volume_js is must %s"},
    {"voiceId", Kind::filledString, "voiceId_js is must %s"},
};
constexpr MemberRule kCustomAudio[] = {
    {"nlg", Kind::filledString, "nlg_js is must %s"},
    {"path", Kind::filledString, "path_js is must %s"},
    {"type", Kind::filledString, "type is must %s"},
};
constexpr MemberRule kVocabulary[] = {
    {"operation", Kind::filledString, "operation is must %s"},
    {"vocabName", Kind::string, "vocabName is must %s"},
};
constexpr MemberRule kVocabularySet[] = {
    {"vocabMode", Kind::string, "vocabMode is must when operation is set: %s"},
    {"vocabContent", Kind::array,
     "vocabContent is must or type is array when operation is set: %s"},
};
constexpr MemberRule kVocabularyGet[] = {
    {"cinfo", Kind::string, "cinfo is must when operation is get: %s"},
};
constexpr MemberRule kSystemSettings[] = {
    {"operation", Kind::filledString, "operation is must %s"},
    {"settings", Kind::array, "settings is must or type must is array %s"},
};
constexpr MemberRule kSkillSettings[] = {
    {"operation", Kind::filledString, "operation is must %s"},
    {"skillId", Kind::string, "skillId is must: %s"},
    {"settings", Kind::array, "settings is must or type must is array %s"},
};
constexpr MemberRule kCloudTts[] = {
    {"volume", Kind::number,
     "ctts setting's volume must have or must be number when operation is set and key is cloudtts "
     "%s"},
    {"speed", Kind::number,
     "ctts setting's speed must have or must be number when operation is set and key is cloudtts "
     "%s"},
    {"audioType", Kind::string,
     "ctts setting's audioType must have or must be string when operation is set and key is "
     "cloudtts %s"},
    {"voiceId", Kind::string,
     "ctts setting's voiceId must have or must be string when operation is set and key is cloudtts "
     "%s"},
    {"sampleRate", Kind::number,
     "ctts setting's sampleRate must have or must be number when operation is set and key is "
     "cloudtts %s"},
};

enum class TopLevel {
    object,
    array,        // of objects
    arrayOrEmpty, // the same, or any value that has no members
};

// The checks of one request, in their order: JSON, top level, members (of each element, for an
// array), and what depends on the members' values. A further check returns the message that fails
// it, or null.
struct RequestRules {
    TopLevel top;
    MemberRules members;
    const char *(*further)(const cJSON *request) = nullptr;
    const char *notJson = "params is not json %s";
};

bool isKind(const cJSON *value, Kind kind)
{
    switch (kind) {
    case Kind::filledString:
        return cJSON_IsString(value) && value->valuestring[0] != '\0';
    case Kind::string:
        return cJSON_IsString(value);
    case Kind::number:
        return cJSON_IsNumber(value);
    case Kind::array:
        return cJSON_IsArray(value);
    }
    return false;
}

const char *checkMembers(const cJSON *object, MemberRules rules)
{
    for (const MemberRule &rule : rules) {
        if (!isKind(jsonMember(object, rule.key), rule.kind)) return rule.message;
    }
    return nullptr;
}

const char *checkElements(const cJSON *array, MemberRules rules)
{
    const cJSON *element = nullptr;
    cJSON_ArrayForEach(element, array)
    {
        const char *failure = checkMembers(element, rules);
        if (failure) return failure;
    }
    return nullptr;
}

// Only a change of the cloud voice is looked into; other settings are the dialog service's.
const char *checkVoiceSettings(const cJSON *request)
{
    const cJSON *ctts = jsonMember(request, "ctts");
    if (!jsonIs(ctts, "operation", "set")) return nullptr;
    const cJSON *settings = jsonMember(ctts, "settings");
    if (!settings) return "ctts settings is must when operation is set: %s";
    if (!cJSON_IsArray(settings)) return "ctts settings must be array when operation is set: %s";
    const cJSON *element = nullptr;
    cJSON_ArrayForEach(element, settings)
    {
        if (!jsonIs(element, "key", "cloudtts")) continue;
        const cJSON *value = jsonObject(element, "value");
        if (!value) {
            return "ctts setting's value must have or must be json object when operation is set "
                   "and key is cloudtts %s";
        }
        const char *failure = checkMembers(value, kCloudTts);
        if (failure) return failure;
    }
    return nullptr;
}

const char *checkVocabularyOperation(const cJSON *request)
{
    if (jsonIs(request, "operation", "set")) return checkMembers(request, kVocabularySet);
    if (jsonIs(request, "operation", "get")) return checkMembers(request, kVocabularyGet);
    return nullptr;
}

const char *checkRequest(const cJSON *request, const RequestRules &rules)
{
    if (rules.top == TopLevel::object) {
        if (!cJSON_IsObject(request)) return "params json must be object %s";
        const char *failure = checkMembers(request, rules.members);
        if (failure) return failure;
        return rules.further ? rules.further(request) : nullptr;
    }
    if (!cJSON_IsArray(request)) {
        bool isAccepted = rules.top == TopLevel::arrayOrEmpty && cJSON_GetArraySize(request) == 0;
        return isAccepted ? nullptr : "params json must be array %s";
    }
    return checkElements(request, rules.members);
}

// The formatted text, of any length; empty when there is no memory.
VANTEL_PRINTF(1, 2) HeapText formatMessage(const char *pattern, ...)
{
    va_list arguments;
    va_list again;
    va_start(arguments, pattern);
    va_copy(again, arguments);
    int length = std::vsnprintf(nullptr, 0, pattern, arguments);
    va_end(arguments);
    HeapText text;
    if (length >= 0) {
        size_t bytes = static_cast<size_t>(length) + 1;
        text.reset(static_cast<char *>(std::calloc(bytes, 1)));
        if (text) std::vsnprintf(text.get(), bytes, pattern, again);
    }
    va_end(again);
    return text;
}

int32_t paramsError(const AgentRecord *agent, const char *pattern, const char *params)
{
    HeapText message = formatMessage(pattern, orNull(params));
    CHECK_LOG(kError, "  %s %s\n", kTag, orNull(message.get()));
    HeapText report = errorReport(VANTEL_ERROR_PARAMS, message.get());
    if (agent && report) publishText(agent->node, topics::kError, report.get());
    return -1;
}

int32_t check(const AgentRecord *agent, const char *params, const RequestRules &rules)
{
    if (!agent || !params) return paramsError(agent, "params is null", params);
    Json request = jsonParse(params);
    if (!request) return paramsError(agent, rules.notJson, params);
    const char *failure = checkRequest(request.get(), rules);
    return failure ? paramsError(agent, failure, params) : 0;
}

} // namespace

#define CHECK(name, ...)                                                                           \
    int32_t name(AgentRecord *agent, const char *params)                                           \
    {                                                                                              \
        return check(agent, params, RequestRules{__VA_ARGS__});                                    \
    }

CHECK(checkParamsSetWakeupWords, TopLevel::arrayOrEmpty, kWakeupWord, nullptr,
      " params is not json: %s")
CHECK(checkParamsEvaluateWakeupWords, TopLevel::object, kEvaluation)
CHECK(checkParamsAgentInputText, TopLevel::object, kInputText)
CHECK(checkParamsTriggerIntent, TopLevel::object, kIntent)
CHECK(checkParamsSpeak, TopLevel::object, kSpeech)
CHECK(checkParamsSetCustomAudio, TopLevel::array, kCustomAudio)
CHECK(checkParamsSetParams, TopLevel::object, {}, checkVoiceSettings)
CHECK(checkParamsOperateVocabs, TopLevel::object, kVocabulary, checkVocabularyOperation)
CHECK(checkParamsSystemSettings, TopLevel::object, kSystemSettings)
CHECK(checkParamsSkillSettings, TopLevel::object, kSkillSettings)

} // namespace vantel
