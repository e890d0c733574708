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

std::vector<std::string> oddPayloads()
{
    std::vector<std::string> payloads = {std::string(20000, '[')};
    for (const char *text : {"", R"({"operation":"sta)", "[1,2", "null", "7", R"("text")", "[]",
                             R"({"dm":"text"})", R"({"dm":{"command":{"api":7}}})"})
        payloads.push_back(text);
    for (const char *value : {"null", "-1e300", "true", R"({"a":[]})", R"("\u0000\ud83d\ude00")"})
        payloads.push_back(allMembers(value));
    return payloads;
}

class Faults : public Dialog, public testing::WithParamInterface<const char *>
{
protected:
    // A whole dialog, from whatever state the faults have left.
    void expectUsable()
    {
        stopDialog();
        startListening();
        recognised(R"({"eof":1})"); // forgets that only listening was asked for
        const struct {
            const char *topic;
            const char *data;
            const char *status;
        } steps[] = {{"api.localAgent.dialogCtrl", kStart, "listening"},
                     {"sys.localVad.end", "{}", "understanding"},
                     {"sys.dms.output", kContinuing, "listening"},
                     {"sys.localVad.end", "{}", "understanding"},
                     {"sys.dms.output", kEnding, "silence"}};
        for (const auto &[topic, data, name] : steps) {
            node->publish(topic, data);
            EXPECT_EQ(node->traceOf("vantel.status"), Trace{status(name).front()});
        }
    }
};

TEST_P(Faults, OddPayloadsLeaveADialogUsable)
{
    for (Host host : {Host::present, Host::absent}) {
        begin(GetParam(), host);
        for (const char *topic : vantel::kProcessorNode.topics) {
            if (topic == std::string("sys.localAgent.exit")) continue;
            node->publishNull(topic);
            for (const std::string &payload : oddPayloads())
                node->send(topic, payload);
            node->settle();
        }
        expectUsable();
    }
}

TEST_P(Faults, OddAnswersLeaveADialogUsable)
{
    for (const char *answer : {"", "{", "[]", R"({"ignore":true,"type":7,"dm":[]})"}) {
        begin(GetParam());
        for (int event = 1002; event <= 1044; ++event)
            node->answer(event, answer);
        startDialog();
        speechEnds();
        wakeUp(R"({"type":"major","action":"a"})");
        for (const char *topic : {"sys.dms.output", "sys.rt.output", "sys.vantel.error",
                                  "sys.net.status", "sys.localDms.nativeApi"})
            node->publish(topic, kContinuing);
        playbackEnds();
        node->answer(1005, kEnding);
        stopDialog();
        startDialog();
        reply(kContinuing);
        EXPECT_EQ(lastStatus(), "silence");
    }
}

INSTANTIATE_TEST_SUITE_P(InBothModes, Faults,
                         testing::Values(R"({"oneshot":{"enable":"true","timeout":300000}})",
                                         kFullDuplex));

} // namespace
