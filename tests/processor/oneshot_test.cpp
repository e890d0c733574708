// A wakeup whose command may follow the wake word without a pause.
#include "tests/processor/dialog_texts.h"

namespace
{

constexpr char kGreets[] =
    R"({"oneshot":{"enable":"true","timeout":300000,"greetMode":"immediate"}})";
const std::string kMajor = R"({"type":"major","greeting":"在"})";
const Lines kMajorExpires = {"1036 " + kMajor};
const Lines kAudioCancelled = {"localProcessor.cancelOneshotAudio (null)"};

class Oneshot : public Dialog
{
protected:
    void wakeUpAs(const char *configuration, const std::string &result = kMajor)
    {
        begin(configuration);
        wakeUp(result);
    }
    // What happens when nobody speaks in time.
    Lines expire() { return pass(300000); }
};

TEST_F(Oneshot, ListeningStartsWithTheWakeupResultAsItCame)
{
    begin(kOneshot);
    answer(VANTEL_EVENT_WAKEUP, R"({"type":"major","greeting":"host"})");
    EXPECT_EQ(wakeUp(kMajor), Lines{"1002 " + kMajor} + kVadStop + kDmsReset +
                                  listeningBegins(kMajor) + status("listening") + kRecorderStarts);
    wakeUpAs(kOneshot, R"({"type":"quickStart"})");
    EXPECT_EQ(traceOf("/localDms/start"), Lines{"/localDms/start (null)"});
    wakeUpAs(kOneshot, R"({"type":"command","greeting":"在"})");
    EXPECT_EQ(logged("oneshot timerId"), 0U);
}

TEST_F(Oneshot, SpeechInTimeIsTheCommand)
{
    wakeUpAs(kOneshot);
    pass(200000);
    publish("sys.localVad.begin", R"({"status":1})");
    EXPECT_EQ(logged("kill oneshot timerId"), 1U);
    EXPECT_EQ(expire(), Lines{});
}

TEST_F(Oneshot, WithoutSpeechTheWakeupIsAnOrdinaryOne)
{
    wakeUpAs(kOneshot);
    EXPECT_EQ(expire(), kMajorExpires + kDmsReset + kAudioCancelled);
    EXPECT_EQ(expire(), Lines{}); // once
    begin(kOneshot);
    answer(VANTEL_EVENT_ONESHOT_WAKEUP, R"({"type":"command"})"); // without the greeting
    wakeUp(kMajor);
    EXPECT_EQ(expire(),
              kMajorExpires + kDmsReset + listeningBegins() + kAudioCancelled + kRecorderStarts);
    wakeUpAs(kOneshot);
    stopDialog();
    EXPECT_EQ(logged("kill oneshot timerId"), 1U);
}

TEST_F(Oneshot, AGreetingSpokenAtOnceIsNotSpokenTwice)
{
    wakeUpAs(kGreets);
    EXPECT_EQ(statuses(), (Lines{"speaking", "listening"}));
    EXPECT_EQ(expire(), Lines{"1036 {\n\t\"type\":\t\"major\"\n}"} + kDmsReset + listeningBegins() +
                            kAudioCancelled + kRecorderStarts);
}

} // namespace
