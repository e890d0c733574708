// What the node does with calls, topics and the detector's word.
#include "tests/vad/vad_bench.h"

using namespace scripted;

namespace
{

constexpr char kWithOneshot[] =
    R"({"homePath":"HOME","oneshot":{"enable":"true"},"wakeup":{"word":"小驰"},)"
    R"("vad":{"cachePcm":"true","pauseTime":50}})";
constexpr int32_t kPreRollBytes = 19200; // of a word of two characters

class Vad : public VadBench
{
protected:
    // A one-shot turn over `recording`, whose first `before` bytes come before the detector runs.
    Lines turn(const std::string &recording, size_t before, size_t chunk)
    {
        begin(kWithOneshot);
        feed(recording.substr(0, before), chunk);
        wakeUp();
        beginMeasurement();
        start();
        detect(0, began(6400), 8000);
        detect(1, recording.substr(before + 6400, 1600), 8000);
        detect(0, ended(17600), 19200);
        feed(recording.substr(before), chunk);
        stop();
        endMeasurement();
        return trace();
    }
};

TEST_F(Vad, ATurnIsTheSameWhateverTheChunksOfTheRecording)
{
    const std::string quiet = noise(15000, 30);
    const std::string recording = quiet + noise(4800, 8000) + noise(3200, 30, 2);
    const size_t before = 30000 - 6400; // the speech begins at 6400 and ends at 16000
    const std::string preRoll = recording.substr(before - kPreRollBytes, kPreRollBytes);
    const std::string passedOn = recording.substr(30000, 1600);
    const std::string silence = recording.substr(before, 6400) + recording.substr(39600, 1600);
    const std::string voice = recording.substr(30000, 9600);
    const Captures captured = {{"feedVad", {recording.substr(before)}},
                               {"onshot", {preRoll}},
                               {"snrSilence", {silence}},
                               {"snrVoice", {voice}},
                               {"vad", {preRoll + passedOn}}};
    const Lines whole = turn(recording, before, 1600);
    ASSERT_EQ(whole.size(), 10U);
    const size_t ratio = whole.back().find(",\"snr\":");
    EXPECT_EQ(whole.back().substr(0, ratio + 9),
              R"(snr.result {"silenceLen":8000,"voiceLen":9600,"snr":48)");
    EXPECT_TRUE(
        Lines(whole.begin(), whole.end() - 1) ==
        (Lines{"1003 " + began(6400), "localVad.begin " + began(6400), "localVad.pcm " + preRoll,
               "localVad.pcm " + passedOn, "102/1003 " + passedOn, "1003 " + ended(17600),
               "localVad.end " + ended(17600), "102/1042 " + silence, "102/1043 " + voice}));
    EXPECT_EQ(captures(), captured);
    for (size_t chunk : {1U, 7U, 64U, 999U}) {
        EXPECT_TRUE(turn(recording, before, chunk) == whole) << chunk;
        EXPECT_TRUE(captures() == captured) << chunk;
    }
}

TEST_F(Vad, APreRollThatIsDroppedIsOnlyCapturedAndOneThatIsOffIsNot)
{
    const Lines speechBegins = {"1003 " + began(0), "localVad.begin " + began(0)};
    begin(kWithOneshot);
    feed("0123456789");
    wakeUp();
    cancelPreRoll(); // before the first start it has no file
    EXPECT_EQ(captures(), Captures{});
    wakeUp();
    start();
    cancelPreRoll();
    cancelPreRoll(); // is not pending any more
    EXPECT_EQ(captures(), (Captures{{"onshot", {"0123456789"}}}));
    detect(0, began(0));
    feed("abcdef");
    EXPECT_EQ(trace(), speechBegins);
    EXPECT_EQ(captures(), (Captures{{"feedVad", {"abcdef"}}, {"onshot", {"0123456789"}}}));
    begin(R"({"homePath":"HOME","vad":{"cachePcm":"true"},"oneshot":{"enable":true}})");
    feed("0123456789");
    wakeUp();
    start();
    detect(0, began(0));
    feed("abcdef");
    EXPECT_EQ(trace(), speechBegins);
    EXPECT_EQ(logged("onshot pcm path"), 0U);
}

TEST_F(Vad, CallsAndCtrlStartAndStopOnlyWhatIsNotSoYet)
{
    begin(kWithOneshot);
    stop();
    EXPECT_EQ(call("/localVad/start"), "(null)");
    start();
    send("sys.localVad.ctrl", R"({"operation":"start"})");
    EXPECT_EQ(asked(), (Lines{"ostrel_vad_new", "ostrel_vad_start"}));
    EXPECT_EQ(calls("ostrel_vad_start")[0].text, R"({"pauseTime":50})");
    EXPECT_EQ(logged("vad pcm path"), 1U);
    send("sys.localVad.ctrl", R"({"operation":"stop"})");
    EXPECT_EQ(call("/localVad/stop"), "(null)");
    send("sys.localVad.ctrl", R"({"operation":"start"})");
    EXPECT_EQ(asked("ostrel_vad_st"),
              (Lines{"ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_start"}));
    EXPECT_EQ(call("/localVad/reset"), R"({"data":"localVad url not implement"})");
}

TEST_F(Vad, AnEngineThatFailsLeavesTheState)
{
    begin(kWithOneshot);
    setResult("ostrel_vad_start", -5);
    start();
    feed("abc");
    EXPECT_EQ(logged("ZQ-localVad onStart, ret: -5"), 1U);
    EXPECT_EQ(logged("vad pcm path"), 1U) << "names are renewed all the same";
    advance(10000);
    EXPECT_EQ(logged("vad timeout reset snr buffer"), 0U);
    setResult("ostrel_vad_start", 0);
    setResult("ostrel_vad_feed", 3);
    setResult("ostrel_vad_stop", 7);
    start();
    feed("abc");
    EXPECT_EQ(logged("onFeed, ret: 3"), 1U);
    stop();
    start(); // is still started
    feed("def");
    EXPECT_EQ(asked("ostrel_vad_"),
              (Lines{"ostrel_vad_new", "ostrel_vad_start", "ostrel_vad_start", "ostrel_vad_feed",
                     "ostrel_vad_stop", "ostrel_vad_feed"}));
    advance(10000);
    EXPECT_EQ(logged("vad timeout reset snr buffer"), 0U) << "the timer was killed";
}

TEST_F(Vad, WithoutADetectorTheNodeStillAnswers)
{
    for (const char *configuration : {static_cast<const char *>(nullptr), "{}", "no JSON", "[3]"}) {
        begin(configuration);
        wakeUp();
        feed("abc");
        start();
        feed("def");
        beginMeasurement();
        endMeasurement();
        EXPECT_EQ(trace(),
                  Lines{R"(vantel.error {"errId":-7395,"errMsg":"snr error, due to not voice"})"});
        EXPECT_EQ(logged("coreVad not cfg"), configuration ? 1U : 0U);
        EXPECT_EQ(call("/localVad/x"), R"({"data":"localVad url not implement"})");
    }
    EXPECT_EQ(callNames(), Lines{});
}

TEST_F(Vad, ADetectorThatCannotBeMadeIsReportedOnceTheNodeRuns)
{
    setResult("ostrel_vad_new", -1);
    begin(R"({"vad":{"res":"x"}})");
    start();
    EXPECT_EQ(trace(), Lines{R"(vantel.error {"errId":-7399,"errMsg":"vad core error"})"});
    EXPECT_EQ(callNames(), Lines{"ostrel_vad_new"});
    EXPECT_EQ(calls()[0].text, R"({"res":"x"})");
}

// The wall's clock runs on beside the advances, so the margins are minutes.
TEST_F(Vad, TheTimerClearsTheBuffersUntilSpeechBegins)
{
    begin(R"({"vad":{"timeout":200000}})");
    start();
    feed(noise(1600, 30));
    advance(100000);
    EXPECT_EQ(logged("reset speech"), 0U);
    advance(100000);
    advance(200000);
    EXPECT_EQ(logged("vad timeout reset snr buffer"), 2U);
    detect(0, began(3000));
    feed("ab");
    EXPECT_EQ(traceOf("localVad.").size(), 1U) << "published, inaccurate or not";
    EXPECT_EQ(logged("offset inaccuracy, speechLen: 0, offset:3000"), 1U);
    advance(1000000);
    EXPECT_EQ(logged("vad timeout reset snr buffer"), 2U);
}

TEST_F(Vad, TimerCtrlArmsOnlyWhileStartedAndItsTimeoutHoldsOnce)
{
    begin(R"({"vad":{"timeout":200000}})");
    const std::string topic = "sys.localProcessor.TimerCtrl";
    send(topic, R"({"operation":"start"})");
    advance(200000);
    EXPECT_EQ(logged("setTimer"), 0U);
    start();
    const struct {
        const char *request;
        int32_t milliseconds;
        size_t expired;
    } steps[] = {
        {R"({"operation":"stop"})", 200000, 0},
        {R"({"operation":"start","timeout":50000})", 50000, 1},
        {"{}", 100000, 1},
        {"{}", 100000, 2},
        {R"({"operation":"start","timeout":100000})", 50000, 2},
        {R"({"operation":"start","timeout":100000})", 50000, 2}, // in place of the running one
        {"{}", 50000, 3},
    };
    for (const auto &[request, milliseconds, expired] : steps) {
        send(topic, request);
        advance(milliseconds);
        EXPECT_EQ(logged("vad timeout"), expired);
    }
}

TEST_F(Vad, APeriodBelowAMillisecondCountsAsAbsent)
{
    const std::string topic = "sys.localProcessor.TimerCtrl";
    for (const char *value : {"0", "-1", "\"500\"", "null", "0.9"}) {
        const std::string timeout = std::string(R"("timeout":)") + value;
        begin(("{\"vad\":{" + timeout + "}}").c_str());
        start();
        advance(9000);
        EXPECT_EQ(logged("vad timeout"), 0U) << value;
        advance(1000);
        EXPECT_EQ(logged("vad timeout"), 1U) << value;
        begin(R"({"vad":{"timeout":200000}})");
        start();
        send(topic, R"({"operation":"start",)" + timeout + "}");
        advance(100000);
        EXPECT_EQ(logged("vad timeout"), 0U) << value;
        EXPECT_EQ(log("[W]"), Lines{std::string(R"([W]  ZQ-localVad "timeout": )") + value +
                                    " is below 1, 200000 is used"});
    }
    begin(R"({"vad":{"timeout":0,"pauseTime":-1}})");
    EXPECT_EQ(
        log("[W]"),
        (Lines{R"([W]  ZQ-localVad "vad"."timeout": 0 is below 1, 10000 is used)",
               R"([W]  ZQ-localVad "vad"."pauseTime": -1 is negative, it is used as it is)"}));
    start();
    EXPECT_EQ(calls("ostrel_vad_start").back().text, R"({"pauseTime":-1})");
}

TEST_F(Vad, StrangeMessagesAndStatusesChangeNothing)
{
    begin(kWithOneshot);
    start();
    for (const char *topic :
         {"sys.localVad.ctrl", "sys.snr.calculation", "api.localAgent.setParams",
          "sys.localRecorder.pcm", "sys.localProcessor.TimerCtrl", "sys.localVad.vprRuntimeCtrl"}) {
        send(topic, std::nullopt);
        for (const char *payload : {"", "{", "[]", "7", R"({"operation":7,"status":7,"snr":7})"})
            send(topic, payload);
    }
    for (const char *status : {"", "no JSON", "{}", "[1]", R"({"status":3})", R"({"status":"1"})"})
        detect(0, status);
    feed("abc");
    EXPECT_EQ(traceOf("localVad."), Lines{"localVad.pcm (null)"})
        << "an empty status text is audio of no bytes";
    EXPECT_EQ(logged("coreVad abort"), 5U);
    EXPECT_EQ(logged("not snr calculation status, NULL"), 1U);
    EXPECT_EQ(callNames("ostrel_vad_st"), Lines{"ostrel_vad_start"});
}

TEST_F(Vad, OffsetsOutsideTheAudioAreCutToIt)
{
    begin(R"({"vad":{"pauseTime":100000000,"fullMode":1}})");
    start();
    beginMeasurement();
    feed(noise(1600, 30));
    settle();
    for (const std::string &status : {began(-2000000000), ended(-2000000000), ended(3200),
                                      began(3200), ended(2000000000), began(INT32_MIN)})
        detect(0, status);
    feed(noise(1600, 30));
    endMeasurement();
    EXPECT_EQ(traceOf("localVad.begin").size(), 3U);
    EXPECT_EQ(logged("offset inaccuracy"), 1U);
}

TEST_F(Vad, TheDetectorIsStoppedAtExitAndOnceMoreBehindTheLoop)
{
    begin(R"({"vad":{}})");
    end();
    EXPECT_EQ(callNames("ostrel_vad_"),
              (Lines{"ostrel_vad_new", "ostrel_vad_stop", "ostrel_vad_delete"}));
    reset();
    begin(R"({"vad":{}})");
    start();
    send("sys.localAgent.exit", "");
    end();
    EXPECT_EQ(callNames("ostrel_vad_"),
              (Lines{"ostrel_vad_new", "ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_stop",
                     "ostrel_vad_delete"}));
}

TEST_F(Vad, AFolderThatCannotBeWrittenLosesOnlyTheCaptures)
{
    begin(R"({"homePath":"HOME/cache/log/vantel.log","vad":{"cachePcm":"true"}})"); // a file
    start();
    detect(0, began(0));
    detect(1, "speech");
    feed("abc");
    EXPECT_EQ(traceOf("localVad."), (Lines{"localVad.begin " + began(0), "localVad.pcm speech"}));
    EXPECT_EQ(logged("create vad cache dir failed, path: " + folder.path()), 1U);
    EXPECT_EQ(logged("open failed, vad path: "), 2U);
}

} // namespace
