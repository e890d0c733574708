#include "include/vantel/vantel.h"
#include "src/agent/check_params.h"
#include "src/agent/error_report.h"
#include "tests/support/bench.h"

namespace
{

using Operation = int32_t (*)(void *, const char *);

// A value that a member may have, and values of the kinds that it must not have.
struct Kind {
    std::string good;
    Lines bad;
};

const Kind kFilled = {R"("x")", {R"("")", "1", "true", "null", "[]", "{}"}};
const Kind kString = {R"("")", {"1", "true", "null", "[]", "{}"}};
const Kind kNumber = {"1.5", {R"("1")", "true", "null", "[]", "{}"}};
const Kind kArray = {"[]", {R"("[]")", "1", "true", "null", "{}"}};
const Kind kSet = {R"("set")", {}};
const Kind kGet = {R"("get")", {}};

struct Member {
    std::string key;
    Kind kind;
    std::string message; // in front of the parameters
};

struct Request {
    Operation operation;
    std::string topic; // empty: nothing is published
    std::string topLevel;
    std::vector<Member> members;
};

// One row a request or member, so that the table can be held against the documentation.
// clang-format off
const std::vector<Request> kRequests = {
    {vantelSetWakeupWords, "api.localAgent.setWakeupWords", "array",
     {{"wakeupWord", kFilled, "wakeupWord is must "},
      {"pinyin", kFilled, "pinyin is must "},
      {"thresh", kFilled, "thresh is must "},
      {"type", kFilled, "type is must "}}},
    {vantelEvaluateKeyWords, "", "object", {{"keyWords", kFilled, "keyWords is must "}}},
    {vantelInputText, "api.localAgent.inputText", "object", {{"text", kFilled, "text_js is must "}}},
    {vantelTriggerIntent, "api.localAgent.triggerIntent", "object",
     {{"skill", kFilled, "skill is must "},
      {"task", kFilled, "task_js is must "},
      {"intent", kFilled, "intent_js is must "}}},
    {vantelSpeak, "api.localAgent.speak", "object",
     {{"operation", kFilled, "operation_js is must "},
      {"nlg", kFilled, "nlg_js is must "},
      {"speed", kNumber, "speed_js is must "},
      {"volume", kNumber, "volume_js is must "},
      {"voiceId", kFilled, "voiceId_js is must "}}},
    {vantelSetCustomAudio, "api.localAgent.setCustomAudio", "array",
     {{"nlg", kFilled, "nlg_js is must "},
      {"path", kFilled, "path_js is must "},
      {"type", kFilled, "type is must "}}},
    {vantelSetParams, "api.localAgent.setParams", "object", {}},
    {vantelOperateVocabs, "api.localAgent.operaeVocabs", "object",
     {{"operation", kFilled, "operation is must "},
      {"vocabName", kString, "vocabName is must "}}},
    {vantelOperateVocabs, "api.localAgent.operaeVocabs", "object",
     {{"operation", kSet, "operation is must "},
      {"vocabName", kString, "vocabName is must "},
      {"vocabMode", kString, "vocabMode is must when operation is set: "},
      {"vocabContent", kArray, "vocabContent is must or type is array when operation is set: "}}},
    {vantelOperateVocabs, "api.localAgent.operaeVocabs", "object",
     {{"operation", kGet, "operation is must "},
      {"vocabName", kString, "vocabName is must "},
      {"cinfo", kString, "cinfo is must when operation is get: "}}},
    {vantelSystemSettings, "api.localAgent.systemSettings", "object",
     {{"operation", kFilled, "operation is must "},
      {"settings", kArray, "settings is must or type must is array "}}},
    {vantelSkillSettings, "api.localAgent.skillSettings", "object",
     {{"operation", kFilled, "operation is must "},
      {"skillId", kString, "skillId is must: "},
      {"settings", kArray, "settings is must or type must is array "}}},
};
// clang-format on

// The members before `at` with their good values, and the one at `at` with `value`, if not empty.
std::string objectText(const std::vector<Member> &members, size_t at, const std::string &value)
{
    std::string text = "{";
    for (size_t i = 0; i <= at && i < members.size(); ++i) {
        const std::string &member = i < at ? members[i].kind.good : value;
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

    // The request is refused, and log and error topic carry `message` and the parameters.
    void expectRefused(Operation operation, const std::optional<std::string> &params,
                       const std::string &message)
    {
        const std::string extra = message + params.value_or("");
        forget();
        EXPECT_EQ(operation(handle, params ? params->c_str() : nullptr), -1) << extra;
        EXPECT_EQ(trace(), Lines{std::string("vantel.error ") +
                                 vantel::errorReport(VANTEL_ERROR_PARAMS, extra.c_str()).get()});
        EXPECT_EQ(log("ZQ-MM"), Lines{"[E]  ZQ-MM " + extra});
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
        const bool isArray = request.topLevel == "array";
        const std::string open = isArray ? "[" : "";
        const std::string close = isArray ? "]" : "";
        for (size_t at = 0; at < request.members.size(); ++at) {
            const Member &member = request.members[at];
            for (const std::string &value : member.kind.bad + Lines{""}) {
                const std::string text = objectText(request.members, at, value);
                expectRefused(request.operation, open + text + close, member.message);
            }
        }
        const std::string good = objectText(request.members, request.members.size(), "");
        expectAccepted(request, open + good + close + " what follows is ignored");
    }
}

TEST_F(Params, MustBeThereAndJsonOfTheRightKind)
{
    for (const Request &request : kRequests) {
        const bool isWakeupWords = request.operation == vantelSetWakeupWords;
        const char *other = request.topLevel == "array" ? R"({"a":1})" : R"([{"text":"t"}])";
        expectRefused(request.operation, std::nullopt, "params is null");
        expectRefused(request.operation, R"({"a":)",
                      isWakeupWords ? " params is not json: " : "params is not json ");
        expectRefused(request.operation, other, "params json must be " + request.topLevel + " ");
    }
    for (const char *empty : {"[]", "{}", "7", R"("text")"})
        expectAccepted(kRequests[0], empty);
    expectAccepted(kRequests[5], "[]");
    expectRefused(vantelSetCustomAudio, "{}", "params json must be array ");
    expectAccepted(kRequests[2], R"({"TEXT":"t"})");
    expectRefused(vantelInputText, "%s%n%d", "params is not json ");
}

TEST_F(Params, OfAnArrayAreDecidedByTheFirstFailingElement)
{
    const std::string good = "[" + objectText(kRequests[0].members, 4, "") + ",";
    for (const char *element : {"1", "[]", "null", R"("wakeupWord")"})
        expectRefused(vantelSetWakeupWords, good + element + "]", "wakeupWord is must ");
    expectRefused(vantelSetWakeupWords, good + R"({"wakeupWord":"w","thresh":"1"},1])",
                  "pinyin is must ");
}

TEST_F(Params, OfTheCloudVoiceAreCheckedOnlyWhenTheyAreSet)
{
    const Request &request = kRequests[6];
    for (const char *text :
         {R"({"ctts":1})", R"({"ctts":{"operation":"get"}})", R"({"ctts":{"operation":"Set"}})",
          R"({"ctts":{"operation":"set","settings":[]}})",
          R"({"ctts":{"operation":"set","settings":[1,{"key":"localtts","value":1},{"key":1}]}})"})
        expectAccepted(request, text);
    expectRefused(vantelSetParams, R"({"ctts":{"operation":"set"}})",
                  "ctts settings is must when operation is set: ");
    expectRefused(vantelSetParams, R"({"ctts":{"operation":"set","settings":{}}})",
                  "ctts settings must be array when operation is set: ");

    const std::string tail = " when operation is set and key is cloudtts ";
    const std::vector<Member> members = {
        {"volume", kNumber, "ctts setting's volume must have or must be number" + tail},
        {"speed", kNumber, "ctts setting's speed must have or must be number" + tail},
        {"audioType", kString, "ctts setting's audioType must have or must be string" + tail},
        {"voiceId", kString, "ctts setting's voiceId must have or must be string" + tail},
        {"sampleRate", kNumber, "ctts setting's sampleRate must have or must be number" + tail}};
    const auto setting = [](const std::string &value) {
        return R"({"ctts":{"operation":"set","settings":[{"key":"other"},{"key":"cloudtts")" +
               value + "}]}}";
    };
    for (const char *value : {"", R"(,"value":[])", R"(,"value":1)"})
        expectRefused(vantelSetParams, setting(value),
                      "ctts setting's value must have or must be json object" + tail);
    for (size_t at = 0; at < members.size(); ++at) {
        for (const std::string &value : members[at].kind.bad + Lines{""})
            expectRefused(vantelSetParams, setting(R"(,"value":)" + objectText(members, at, value)),
                          members[at].message);
    }
    expectAccepted(request, setting(R"(,"value":)" + objectText(members, members.size(), "")));
}

TEST_F(Params, OfAnySizeNestingAndBytesHaveAClearResult)
{
    expectAccepted(kRequests[2], R"({"text":")" + std::string(3000000, 'x') + R"("})");
    expectAccepted(kRequests[2], "{\"text\":\"\xff\xc0\x80\xed\xa0\x80\"}");

    // Deeper than the JSON library goes.
    const std::string deep =
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
