// Dialogs in full duplex: the VAD keeps running, and the turn's time is the VAD node's.
#include "tests/processor/dialog_texts.h"

namespace
{

const Lines kTimerStarts = {"localProcessor.TimerCtrl " + kStart};
const Lines kTimerStops = {"localProcessor.TimerCtrl " + kStop};
const Lines kTurnEnds = {"/localDms/stop (null)", "localRecorder.ctrl " + kRecorderStop,
                         R"(snr.calculation {"status":"end"})"};
const Lines kVadEnds = {"/localVad/stop (null)", R"(snr.calculation {"status":"end"})"};

class FullDuplex : public Dialog
{
protected:
    FullDuplex() { begin(kFullDuplex); }

    // A reply on its way that the dialog service takes back; what followed its delivery.
    Lines discard(const std::string &rest)
    {
        const Lines all =
            publish("sys.rt.output", R"({"dm":{"command":{"api":"discardResponse"})" + rest + "}");
        EXPECT_TRUE(all.at(0).starts_with("1032 "));
        return Lines(all.begin() + 1, all.end());
    }
};

TEST_F(FullDuplex, ATurnKeepsTheVadRunningAndHandsItTheTime)
{
    EXPECT_EQ(startDialog(),
              listeningBegins() + status("listening") + kTimerStarts + kRecorderStarts);
    // From any status.
    EXPECT_EQ(startDialog(), listeningBegins() + kTimerStarts + kRecorderStarts);
    EXPECT_EQ(speechEnds(), kTurnEnds + status("understanding") + kRecorderStops);
    EXPECT_EQ(reply(kContinuing), replied(kContinuing) + listeningBegins() + status("listening") +
                                      kTimerStarts + kRecorderStarts);
    EXPECT_EQ(logged("set check valid dm timerId"), 1U);
}

TEST_F(FullDuplex, TheEndOfPlaybackGoesToTheDialogService)
{
    const std::string off = R"(,"async":{"dispatchEvent":{"playerState":"off"}}})";
    startDialog();
    reply(kContinuingSpoken);
    EXPECT_EQ(playbackEnds(),
              kPlaybackEnds + Lines{R"(context.sync {"sessionId":"s1")" + off} + kTimerStarts);
    EXPECT_EQ(logged("set check valid dm timerId"), 1U);
    EXPECT_EQ(logged("set keepalive timerId"), 1U);
    reply(R"({"dm":{"nlg":"x","shouldEndSession":false},"sessionId":"a\"b\\c\n"})");
    playbackEnds();
    EXPECT_EQ(traceOf("context.sync"), Lines{R"(context.sync {"sessionId":"a\"b\\c\n")" + off});
}

TEST_F(FullDuplex, ADialogThatPlayedOutIsResetAndStopped)
{
    startDialog();
    reply(kEndingSpoken);
    publish("api.localAgent.speak", kStart); // silent since the reply
    EXPECT_EQ(playbackEnds(), kPlaybackEnds + status("silence") + kDmsReset + kVadEnds +
                                  Lines{"localDms.cancel (null)"});
    EXPECT_EQ(logged("reset kcs"), 1U);
    begin(R"({"fullDuplex":"true","enableStreamData":1})");
    playbackEnds();
    EXPECT_EQ(traceOf("localDms.reset"), Lines{});
}

TEST_F(FullDuplex, SpeechBehindTheLastTurnIsDropped)
{
    publish("api.localAgent.inputText", "{}"); // a session that is to end
    EXPECT_EQ(speechEnds(), Lines{"localDms.cancel (null)"});
    EXPECT_EQ(logged("dm shouldEndSession is true, drop current interactive"), 1U);
}

TEST_F(FullDuplex, TheHostsLimitsReachTheDialogServiceWithEveryTurn)
{
    const auto limits = [&](const char *caller, const char *values) {
        return std::string("context.syncDmTimeoutAsrMaxText {\"caller\":\"") + caller +
               R"(","syncContext":{"sessionId":"s1","async":{"dispatchEvent":)" + values + "}}}";
    };
    const auto set = [&](const char *request) {
        return publish("api.localAgent.setContextSync", request);
    };
    startDialog();
    EXPECT_EQ(traceOf("context."), Lines{});
    EXPECT_EQ(logged("updateSessionTimeout: -1, asrMaxTextLength: -1"), 1U);
    reply(kContinuing);
    EXPECT_EQ(set(R"({"updateSessionTimeout":30})"),
              Lines{limits("customer", R"({"updateSessionTimeout":30})")});
    set(R"({"asrMaxTextLength":100})");
    set("100 is not an object, but JSON");
    set("neither");
    startDialog();
    EXPECT_EQ(trace()[2], limits("dm", R"({"updateSessionTimeout":30,"asrMaxTextLength":100})"));
    begin(kHalfDuplex);
    EXPECT_EQ(set(R"({"asrMaxTextLength":100})"), Lines{});
    EXPECT_EQ(logged("not use fullDulpx, not support syncDmTimeoutAsrMaxText"), 1U);
}

TEST_F(FullDuplex, ADiscardedResponseListensAgainOrEndsTheDialog)
{
    const std::string spoken = "rt.output should not have nlg or speakurl";
    startDialog();
    EXPECT_EQ(discard(R"(,"shouldEndSession":false},"sessionId":"s2")"),
              listeningBegins() + kTimerStarts + kRecorderStarts);
    EXPECT_EQ(discard(R"(,"nlg":"speech"})"), Lines{});
    EXPECT_EQ(logged("clear sessionId: s2"), 1U);
    EXPECT_EQ(logged("not implement shouldEndSession"), 1U);
    EXPECT_EQ(logged(spoken), 1U);
    EXPECT_EQ(discard(R"(},"speakUrl":"url")"), Lines{});
    EXPECT_EQ(logged(spoken), 1U);
    // Nothing was discarded.
    EXPECT_EQ(publish("sys.rt.output", kEnding), Lines{"1032 " + kEnding});
    EXPECT_EQ(discard(R"(,"shouldEndSession":true,"nlg":""},"speakUrl":"url")"),
              status("silence") + kDmsReset + kVadEnds);
    answer(VANTEL_EVENT_RT_OUTPUT,
           R"({"dm":{"command":{"api":"discardResponse"},"shouldEndSession":false}})");
    discard(R"(,"shouldEndSession":true})");
    EXPECT_EQ(lastStatus(), "listening");
}

TEST_F(FullDuplex, ATurnWithoutReplyIsReportedAndGoesOn)
{
    startDialog();
    reply(kContinuing);
    EXPECT_EQ(pass(900000), Lines{R"(1044 {"reason":"not dm output"})"});
    EXPECT_EQ(logged("check valid dm vantelHandle"), 2U);
    reply(kContinuing); // the next turn is watched again
    EXPECT_EQ(logged("kill check valid"), 0U);
    stopDialog();
    EXPECT_EQ(logged("kill check valid dm timerId"), 1U);
}

TEST_F(FullDuplex, TheTimersThatEndADialogStopTheVadsTime)
{
    startDialog();
    reply(kEnding);
    EXPECT_EQ(pass(40000), kDmsReset + kVadStop + kTimerStops);
}

} // namespace
