// Payloads and hosts that are not what they should be: whatever comes, the dialog stays usable.
#include "src/processor/processorRecord.h"
#include "tests/processor/dialog_texts.h"

#include <algorithm>

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
    Lines payloads = {std::string(20000, '['), R"({"dm":{"command":{"api":7}}})"};
    for (const char *text :
         {"", R"({"operation":"sta)", "[1,2", "null", "7", R"("text")", "[]", R"({"dm":"text"})"})
        payloads.push_back(text);
    for (const char *value : {"null", "-1e300", "true", R"({"a":[]})", R"("\u0000\ud83d\ude00")"})
        payloads.push_back(allMembers(value));
    return payloads;
}

class Faults : public Dialog
{
protected:
    void answerAll(const std::optional<std::string> &text)
    {
        for (int32_t event = 1002; event <= 1044; ++event)
            answer(event, text);
    }

    void sendOddPayloads()
    {
        for (const char *topic : vantel::processor::kProcessorNode.topics) {
            if (topic == std::string("sys.localAgent.exit")) continue;
            send(topic, std::nullopt);
            for (const std::string &payload : oddPayloads())
                send(topic, payload);
        }
    }

    // A whole dialog, from whatever state the faults have left.
    void expectUsable()
    {
        stopDialog();
        startListening();
        recognised(R"({"eof":1})"); // forgets that only listening was asked for
        for (const auto &[entries, name] : {std::pair{startDialog(), "listening"},
                                            {speechEnds(), "understanding"},
                                            {reply(kContinuing), "listening"},
                                            {speechEnds(), "understanding"},
                                            {reply(kEnding), "silence"}})
            EXPECT_EQ(std::count(entries.begin(), entries.end(), status(name)[0]), 1) << name;
    }
};

TEST_F(Faults, OddPayloadsAndAnswersLeaveADialogUsable)
{
    const std::pair<Host, std::optional<std::string>> hosts[] = {
        {Host::absent, std::nullopt}, {Host::present, std::nullopt},
        {Host::present, ""},          {Host::present, "{"},
        {Host::present, "[]"},        {Host::present, R"({"ignore":true,"type":7,"dm":[]})"}};
    for (const char *configuration : {kOneshot, kFullDuplex}) {
        for (const auto &[host, text] : hosts) {
            begin(configuration, host);
            answerAll(text);
            sendOddPayloads();
            settle();
            answerAll(std::nullopt);
            expectUsable();
        }
    }
}

} // namespace
