// Payloads and hosts that are not what they should be: whatever comes, the dialog stays usable.
#include "src/processor/processorRecord.h"
#include "tests/processor/dialog_texts.h"

namespace
{

// Every member that any handler reads, of one wrong kind.
std::string allMembers(const std::string &value)
{
    std::string text = "{";
    for (const char *key : {"type", "greeting", "action", "ignore", "status", "result", "authType",
                            "eof", "errId", "sessionId", "speakUrl", "operation", "keepAlive",
                            "privilege", "updateSessionTimeout", "asrMaxTextLength"})
        text += std::string("\"") + key + "\":" + value + ",";
    return text + R"("dm":{"nlg":)" + value + R"(,"shouldEndSession":)" + value +
           R"(,"dataFrom":)" + value + R"(,"command":)" + value + "}}";
}

Lines oddPayloads()
{
    Lines payloads = {std::string(20000, '['),
                      "",
                      R"({"operation":"sta)",
                      "[1,2",
                      "null",
                      "7",
                      R"("text")",
                      "[]",
                      R"({"dm":"text"})",
                      R"({"dm":{"command":{"api":7}}})"};
    for (const char *value : {"null", "-1e300", "true", R"({"a":[]})", R"("\u0000\ud83d\ude00")"})
        payloads.push_back(allMembers(value));
    return payloads;
}

class Faults : public Dialog, public testing::WithParamInterface<const char *>
{
protected:
    void answerAll(const std::optional<std::string> &text)
    {
        for (int32_t event = 1002; event <= 1044; ++event)
            answer(event, text);
    }

    // A whole dialog, from whatever state the faults have left.
    void expectUsable()
    {
        stopDialog();
        startListening();
        recognised(R"({"eof":1})"); // forgets that only listening was asked for
        const std::tuple<const char *, std::string, const char *> steps[] = {
            {"api.localAgent.dialogCtrl", kStart, "listening"},
            {"sys.localVad.end", "{}", "understanding"},
            {"sys.dms.output", kContinuing, "listening"},
            {"sys.localVad.end", "{}", "understanding"},
            {"sys.dms.output", kEnding, "silence"}};
        for (const auto &[topic, data, name] : steps) {
            publish(topic, data);
            EXPECT_EQ(traceOf("vantel.status"), Lines{status(name).front()});
        }
    }
};

TEST_P(Faults, OddPayloadsAndAnswersLeaveADialogUsable)
{
    const std::pair<Host, std::optional<std::string>> hosts[] = {
        {Host::absent, std::nullopt}, {Host::present, std::nullopt},
        {Host::present, ""},          {Host::present, "{"},
        {Host::present, "[]"},        {Host::present, R"({"ignore":true,"type":7,"dm":[]})"}};
    for (const auto &[host, text] : hosts) {
        begin(GetParam(), host);
        answerAll(text);
        for (const char *topic : vantel::kProcessorNode.topics) {
            if (topic == std::string("sys.localAgent.exit")) continue;
            send(topic, std::nullopt);
            for (const std::string &payload : oddPayloads())
                send(topic, payload);
        }
        settle();
        answerAll(std::nullopt);
        expectUsable();
    }
}

INSTANTIATE_TEST_SUITE_P(InBothModes, Faults,
                         testing::Values(R"({"oneshot":{"enable":"true","timeout":300000}})",
                                         kFullDuplex));

} // namespace
