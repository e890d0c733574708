// A wakeup whose command may follow the wake word without a pause.
#include "tests/processor/dialog_texts.h"

using Names = std::vector<std::string>;

namespace
{

constexpr char kOneshot[] = R"({"oneshot":{"enable":"true","timeout":300000}})";
constexpr char kGreets[] =
    R"({"oneshot":{"enable":"true","timeout":300000,"greetMode":"immediate"}})";
constexpr char kMajor[] = R"({"type":"major","greeting":"在"})";
const Trace kAudioCancelled = {"localProcessor.cancelOneshotAudio (null)"};

class Oneshot : public Dialog
{
protected:
    void wakeUpAs(const char *configuration, const std::string &result = kMajor)
    {
        begin(configuration);
        wakeUp(result);
    }
    // What happens when nobody speaks in time.
    Trace expire()
    {
        node->advance(300000);
        return node->trace();
    }
};

TEST_F(Oneshot, ListeningStartsWithTheWakeupResultAsItCame)
{
    begin(kOneshot);
    node->answer(1002, R"({"type":"major","greeting":"host"})");
    wakeUp(kMajor);
    EXPECT_EQ(node->trace(), (Trace{std::string("1002 ") + kMajor, "/localVad/stop (null)"}) +
                                 kDmsReset + listeningBegins(kMajor) + status("listening") +
                                 kRecorderStarts);
    wakeUpAs(kOneshot, R"({"type":"quickStart"})");
    EXPECT_EQ(node->traceOf("/localDms/start"), Trace{"/localDms/start (null)"});
    wakeUpAs(kOneshot, R"({"type":"command","greeting":"在"})");
    EXPECT_EQ(node->log("oneshot timerId"), Names{});
}

TEST_F(Oneshot, SpeechInTimeIsTheCommand)
{
    wakeUpAs(kOneshot);
    node->advance(200000);
    speechBegins();
    EXPECT_EQ(node->log("kill oneshot timerId").size(), 1U);
    EXPECT_EQ(expire(), Trace{});
}

TEST_F(Oneshot, WithoutSpeechTheWakeupIsAnOrdinaryOne)
{
    wakeUpAs(kOneshot);
    EXPECT_EQ(expire(), Trace{std::string("1036 ") + kMajor} + kDmsReset + kAudioCancelled);
    EXPECT_EQ(expire(), Trace{}); // once
    begin(kOneshot);
    node->answer(1036, R"({"type":"command"})"); // without the greeting
    wakeUp(kMajor);
    EXPECT_EQ(expire(), Trace{std::string("1036 ") + kMajor} + kDmsReset + listeningBegins() +
                            kAudioCancelled + kRecorderStarts);
    wakeUpAs(kOneshot);
    stopDialog();
    EXPECT_EQ(node->log("kill oneshot timerId").size(), 1U);
}

TEST_F(Oneshot, AGreetingSpokenAtOnceIsNotSpokenTwice)
{
    wakeUpAs(kGreets);
    EXPECT_EQ(node->statuses(), (Names{"speaking", "listening"}));
    EXPECT_EQ(expire(), Trace{"1036 {\n\t\"type\":\t\"major\"\n}"} + kDmsReset + listeningBegins() +
                            kAudioCancelled + kRecorderStarts);
}

} // namespace
