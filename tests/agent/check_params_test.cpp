#include "include/vantel/vantel.h"
#include "src/agent/check_params.h"
#include "tests/support/bench.h"
#include "tools/json.h"

namespace
{

using Operation = int32_t (*)(void *, const char *);

// Values of the kinds that a member must not have.
const Lines kNotFilledString = {R"("")", "1", "true", "null", "[]", "{}"};
const Lines kNotString = {"1", "true", "null", "[]", "{}"};
const Lines kNotNumber = {R"("1")", "true", "null", "[]", "{}"};
const Lines kNotArray = {R"("[]")", "1", "true", "null", "{}"};

struct Member {
    std::string key;
    std::string good;
    Lines bad;
    std::string message; // in front of the parameters
};

struct Request {
    Operation operation;
    std::string topic; // empty: nothing is published
    std::string topLevel;
    std::vector<Member> members;
};

const std::vector<Request> kRequests = {
    {vantelSetWakeupWords,
     "api.localAgent.setWakeupWords",
     "array",
     {{"wakeupWord", R"("你好")", kNotFilledString, "wakeupWord is must "},
      {"pinyin", R"("ni hao")", kNotFilledString, "pinyin is must "},
      {"thresh", R"("0.1")", kNotFilledString, "thresh is must "},
      {"type", R"("major")", kNotFilledString, "type is must "}}},
    {vantelEvaluateKeyWords,
     "",
     "object",
     {{"keyWords", R"("你好")", kNotFilledString, "keyWords is must "}}},
    {vantelInputText,
     "api.localAgent.inputText",
     "object",
     {{"text", R"("打开空调")", kNotFilledString, "text_js is must "}}},
    {vantelTriggerIntent,
     "api.localAgent.triggerIntent",
     "object",
     {{"skill", R"("s")", kNotFilledString, "skill is must "},
      {"task", R"("t")", kNotFilledString, "task_js is must "},
      {"intent", R"("i")", kNotFilledString, "intent_js is must "}}},
    {vantelSpeak,
     "api.localAgent.speak",
     "object",
     {{"operation", R"("start")", kNotFilledString, "operation_js is must "},
      {"nlg", R"("好的")", kNotFilledString, "nlg_js is must "},
      {"speed", "1.5", kNotNumber, "speed_js is must "},
      {"volume", "50", kNotNumber, "volume_js is must "},
      {"voiceId", R"("v")", kNotFilledString, "voiceId_js is must "}}},
    {vantelSetCustomAudio,
     "api.localAgent.setCustomAudio",
     "array",
     {{"nlg", R"("n")", kNotFilledString, "nlg_js is must "},
      {"path", R"("p")", kNotFilledString, "path_js is must "},
      {"type", R"("1")", kNotFilledString, "type is must "}}},
    {vantelSetParams, "api.localAgent.setParams", "object", {}},
    {vantelOperateVocabs,
     "api.localAgent.operaeVocabs",
     "object",
     {{"operation", R"("list")", kNotFilledString, "operation is must "},
      {"vocabName", R"("")", kNotString, "vocabName is must "}}},
    {vantelOperateVocabs,
     "api.localAgent.operaeVocabs",
     "object",
     {{"operation", R"("set")", {}, "operation is must "},
      {"vocabName", R"("v")", {}, "vocabName is must "},
      {"vocabMode", R"("")", kNotString, "vocabMode is must when operation is set: "},
      {"vocabContent", "[]", kNotArray,
       "vocabContent is must or type is array when operation is set: "}}},
    {vantelOperateVocabs,
     "api.localAgent.operaeVocabs",
     "object",
     {{"operation", R"("get")", {}, "operation is must "},
      {"vocabName", R"("v")", {}, "vocabName is must "},
      {"cinfo", R"("")", kNotString, "cinfo is must when operation is get: "}}},
    {vantelSystemSettings,
     "api.localAgent.systemSettings",
     "object",
     {{"operation", R"("set")", kNotFilledString, "operation is must "},
      {"settings", "[]", kNotArray, "settings is must or type must is array "}}},
    {vantelSkillSettings,
     "api.localAgent.skillSettings",
     "object",
     {{"operation", R"("set")", kNotFilledString, "operation is must "},
      {"skillId", R"("")", kNotString, "skillId is must: "},
      {"settings", "[]", kNotArray, "settings is must or type must is array "}}},
};

// The members before `at` with their good values, and the one at `at` with `value`, if not empty.
std::string objectText(const std::vector<Member> &members, size_t at, const std::string &value)
{
    std::string text = "{";
    for (size_t i = 0; i <= at && i < members.size(); ++i) {
        const std::string &member = i < at ? members[i].good : value;
        if (member.empty()) continue;
        text += (text.size() > 1 ? ",\"" : "\"") + members[i].key + "\":" + member;
    }
    return text + "}";
}

class Params : public Bench
{
protected:
    Params()
    {
        initialise();
        beginNode(Node::agent, "{}");
    }

    // The request is refused, and log and error topic carry `message`.
    void expectRefused(Operation operation, const char *params, const std::string &message)
    {
        forget();
        EXPECT_EQ(operation(handle, params), -1) << message;
        vantel::Json report{cJSON_CreateObject()};
        cJSON_AddNumberToObject(report.get(), "errId", -6899);
        cJSON_AddStringToObject(report.get(), "errMsg", "params err");
        cJSON_AddStringToObject(report.get(), "extra", message.c_str());
        EXPECT_EQ(trace(),
                  Lines{std::string("vantel.error ") + vantel::jsonPrint(report.get()).get()});
        EXPECT_EQ(log("ZQ-MM"), Lines{"[E]  ZQ-MM " + message});
    }

    // The request is passed on as the host gave it.
    void expectAccepted(const Request &request, const std::string &params)
    {
        forget();
        EXPECT_EQ(request.operation(handle, params.c_str()), 0) << params;
        EXPECT_EQ(trace(), request.topic.empty() ? Lines{} : Lines{request.topic + " " + params});
        EXPECT_EQ(log("ZQ-MM"), Lines{});
    }
};

TEST_F(Params, FailTheFirstMemberThatIsAbsentOrOfAnotherKind)
{
    for (const Request &request : kRequests) {
        bool isArray = request.topLevel == "array";
        std::string open = isArray ? "[" : "";
        std::string close = isArray ? "]" : "";
        for (size_t at = 0; at < request.members.size(); ++at) {
            Lines values = request.members[at].bad;
            values.push_back("");
            for (const std::string &value : values) {
                std::string text = open + objectText(request.members, at, value) + close;
                expectRefused(request.operation, text.c_str(), request.members[at].message + text);
            }
        }
        std::string good = objectText(request.members, request.members.size(), "");
        expectAccepted(request, open + good + close + " what follows is ignored");
    }
}

TEST_F(Params, MustBeThereAndJsonOfTheRightKind)
{
    for (const Request &request : kRequests) {
        expectRefused(request.operation, nullptr, "params is null");
        bool isWakeupWords = request.operation == vantelSetWakeupWords;
        expectRefused(request.operation, R"({"a":)",
                      (isWakeupWords ? " params is not json: " : "params is not json ") +
                          std::string(R"({"a":)"));
        const char *other = request.topLevel == "array" ? R"({"a":1})" : R"([{"text":"t"}])";
        expectRefused(request.operation, other,
                      "params json must be " + request.topLevel + " " + other);
    }
    for (const char *empty : {"[]", "{}", "7", R"("text")"})
        expectAccepted(kRequests[0], empty);
    expectAccepted(kRequests[5], "[]");
    expectRefused(vantelSetCustomAudio, "{}", "params json must be array {}");
}

TEST_F(Params, OfAnArrayAreDecidedByTheFirstFailingElement)
{
    std::string good = objectText(kRequests[0].members, 4, "");
    for (const char *element : {"1", "[]", "null", R"("wakeupWord")"}) {
        std::string text = "[" + good + "," + element + "]";
        expectRefused(vantelSetWakeupWords, text.c_str(), "wakeupWord is must " + text);
    }
    std::string text = "[" + good + R"(,{"wakeupWord":"w","thresh":"1"},1])";
    expectRefused(vantelSetWakeupWords, text.c_str(), "pinyin is must " + text);
}

TEST_F(Params, OfTheCloudVoiceAreCheckedOnlyWhenTheyAreSet)
{
    const Request &request = kRequests[6];
    for (const char *text :
         {R"({"ctts":1})", R"({"ctts":{"operation":"get"}})", R"({"ctts":{"operation":"Set"}})",
          R"({"ctts":{"operation":"set","settings":[]}})",
          R"({"ctts":{"operation":"set","settings":[1,{"key":"localtts","value":1},{"key":1}]}})"})
        expectAccepted(request, text);

    std::string absent = R"({"ctts":{"operation":"set"}})";
    expectRefused(vantelSetParams, absent.c_str(),
                  "ctts settings is must when operation is set: " + absent);
    std::string object = R"({"ctts":{"operation":"set","settings":{}}})";
    expectRefused(vantelSetParams, object.c_str(),
                  "ctts settings must be array when operation is set: " + object);

    const std::string tail = " when operation is set and key is cloudtts ";
    const std::string must = " must have or must be ";
    const std::vector<Member> members = {
        {"volume", "50", kNotNumber, "ctts setting's volume" + must + "number" + tail},
        {"speed", "1", kNotNumber, "ctts setting's speed" + must + "number" + tail},
        {"audioType", R"("")", kNotString, "ctts setting's audioType" + must + "string" + tail},
        {"voiceId", R"("")", kNotString, "ctts setting's voiceId" + must + "string" + tail},
        {"sampleRate", "16000", kNotNumber, "ctts setting's sampleRate" + must + "number" + tail}};
    auto setting = [&](const std::string &value) {
        return R"({"ctts":{"operation":"set","settings":[{"key":"other"},{"key":"cloudtts")" +
               (value.empty() ? "" : R"(,"value":)" + value) + "}]}}";
    };
    for (const char *value : {"", "[]", "1"}) {
        std::string text = setting(value);
        expectRefused(vantelSetParams, text.c_str(),
                      "ctts setting's value must have or must be json object" + tail + text);
    }
    for (size_t at = 0; at < members.size(); ++at) {
        for (const std::string &value : members[at].bad) {
            std::string text = setting(objectText(members, at, value));
            expectRefused(vantelSetParams, text.c_str(), members[at].message + text);
        }
    }
    expectAccepted(request, setting(objectText(members, members.size(), "")));
}

TEST_F(Params, KeysMatchWithoutRegardToCaseAndThePatternIsNotInTheText)
{
    expectAccepted(kRequests[2], R"({"TEXT":"t"})");
    expectRefused(vantelInputText, "%s%n%d", "params is not json %s%n%d");
}

TEST_F(Params, OfAnySizeNestingAndBytesHaveAClearResult)
{
    std::string megabytes = R"({"text":")" + std::string(3000000, 'x') + R"("})";
    expectAccepted(kRequests[2], megabytes);
    std::string bytes = "{\"text\":\"\xff\xc0\x80\xed\xa0\x80\"}";
    expectAccepted(kRequests[2], bytes);

    // Deeper than the JSON library goes.
    std::string deep =
        R"({"text":"t","a":)" + std::string(100000, '[') + std::string(100000, ']') + "}";
    forget();
    EXPECT_EQ(vantelInputText(handle, deep.c_str()), -1);
    std::string wrong = R"({"text":)" + std::string(3000000, '1');
    EXPECT_EQ(vantelInputText(handle, wrong.c_str()), -1);
    ASSERT_EQ(trace().size(), 2U);
    EXPECT_GT(trace()[1].size(), wrong.size());
}

TEST_F(Params, WithoutAnAgentAreRefusedAndNotReported)
{
    forget();
    EXPECT_EQ(vantel::checkParamsSpeak(nullptr, "{}"), -1);
    EXPECT_EQ(trace(), Lines{});
    EXPECT_EQ(log("ZQ-MM"), Lines{"[E]  ZQ-MM params is null"});
}

} // namespace
