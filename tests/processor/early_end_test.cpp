// Turns that the recogniser ends: its final result comes while it is fed, before the detector has
// found the end of speech.
#include "tests/processor/dialog_texts.h"
#include "tests/support/pcm.h"

namespace
{

// Byte positions in a turn that begins with 50 ms of silence and 50 of speech.
constexpr char kBegins[] = R"({"status":1,"offset":1600})";
constexpr char kEnds[] = R"({"status":2,"offset":3200})";

std::string result(const char *word, const char *endsSession)
{
    return std::string{R"({"grammar":{"rec":")"} + word + R"(","eof":1,"conf":0.9,"post":{"sem":)" +
           R"({"dm":{"shouldEndSession":")" + endsSession + R"("}}}}})";
}

class EarlyEnd : public Dialog
{
protected:
    void beginTalking(const std::string &more = "")
    {
        beginSystem(
            (R"({"recorder":{"mode":"external"},"vad":{"pauseTime":20},"asr":{"earlyEnd":true},)"
             R"("dmTimeOut":600000,"keepAliveTimeout":1200000)" +
             more + "}")
                .c_str());
    }
    void hear(const std::string &pcm)
    {
        send("sys.localRecorder.pcm", pcm);
        settle();
    }
    // Silence and the beginning of speech, as the detector finds it.
    void beginSpeech()
    {
        hear(noise(800, 10));
        scripted::emit("ostrel_vad_feed", 0, kBegins);
        hear(noise(800, 5000));
    }
    // Speech goes on, and the recogniser says this while it is fed with it.
    void recogniserSays(const std::string &result)
    {
        scripted::emit("ostrel_vad_feed", 1, noise(320, 5000));
        scripted::emit("ostrel_asr_feed", 0, result);
        hear(noise(320, 5000));
    }
    size_t told(const std::string &event) { return traceOf(event + " ").size(); }
};

TEST_F(EarlyEnd, TurnGoesOnAsAtTheDetectorsEndInHalfDuplex)
{
    beginTalking();
    startDialog();
    beginSpeech();
    recogniserSays(result("lights", "false"));
    EXPECT_EQ(statuses(), (Lines{"listening", "understanding", "listening"}));
    EXPECT_EQ(told("1004"), 1U);
    EXPECT_EQ(told("1005"), 1U);
    // The next turn is heard from its beginning, by either of the two ways to its end.
    EXPECT_EQ(scripted::callNames("ostrel_vad_s"),
              (Lines{"ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_start"}));
    beginSpeech();
    scripted::emit("ostrel_asr_stop", 0, result("radio", "false"));
    scripted::emit("ostrel_vad_feed", 0, kEnds);
    hear(noise(320, 10));
    EXPECT_EQ(told("1004"), 2U);
    beginSpeech();
    recogniserSays(result("off", "true"));
    EXPECT_EQ(statuses().back(), "silence");
    EXPECT_EQ(told("1004"), 3U);
    EXPECT_EQ(told("1005"), 3U);
    EXPECT_EQ(traceOf("vantel.error"), Lines{});
}

TEST_F(EarlyEnd, DetectorBeginsAnewWhereItHearsOn)
{
    beginTalking(R"(,"fullDuplex":"true")");
    startDialog();
    beginSpeech();
    recogniserSays(result("lights", "false"));
    EXPECT_EQ(statuses(), (Lines{"listening", "understanding", "listening"}));
    EXPECT_EQ(scripted::callNames("ostrel_vad_s"),
              (Lines{"ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_start"}));
    // Speech of the first turn does not end the second.
    hear(noise(320, 10));
    EXPECT_EQ(statuses().back(), "listening");
    beginSpeech();
    recogniserSays(result("radio", "false"));
    EXPECT_EQ(told("1004"), 2U);
    EXPECT_EQ(told("1005"), 2U);
    EXPECT_EQ(traceOf("vantel.error"), Lines{});
}

TEST_F(EarlyEnd, ListeningOnlyTurnStopsEverything)
{
    beginTalking();
    startListening();
    beginSpeech();
    recogniserSays(result("lights", "false"));
    EXPECT_EQ(statuses(), (Lines{"listening", "understanding", "silence"}));
    EXPECT_EQ(told("1004"), 1U);
    EXPECT_EQ(told("1005"), 0U);
    EXPECT_EQ(scripted::callNames("ostrel_vad_s"), (Lines{"ostrel_vad_start", "ostrel_vad_stop"}));
    EXPECT_EQ(traceOf("1011 ").back(), "1011 " + kRecorderStop);
}

TEST_F(EarlyEnd, PartialResultsEndNothing)
{
    beginTalking();
    startDialog();
    beginSpeech();
    recogniserSays(R"({"grammar":{"rec":"li","eof":0,"var":0}})");
    EXPECT_EQ(statuses(), Lines{"listening"});
}

} // namespace
