// Dialogs in full duplex: the VAD keeps running, and the turn's time is the VAD node's.
#include "tests/processor/dialog_texts.h"

using Names = std::vector<std::string>;

namespace
{

const Trace kTimerStarts = {std::string("localProcessor.TimerCtrl ") + kStart};
const Trace kTimerStops = {std::string("localProcessor.TimerCtrl ") + kStop};

Trace dmsEnds()
{
    return {"/localDms/stop (null)", std::string("localRecorder.ctrl ") + kRecorderStop,
            R"(snr.calculation {"status":"end"})"};
}

class FullDuplex : public Dialog
{
protected:
    FullDuplex() { begin(kFullDuplex); }

    Trace behindTheFirst()
    {
        const Trace all = node->trace();
        return Trace(all.begin() + 1, all.end());
    }
};

TEST_F(FullDuplex, ATurnKeepsTheVadRunningAndHandsItTheTime)
{
    startDialog();
    EXPECT_EQ(node->trace(),
              listeningBegins() + status("listening") + kTimerStarts + kRecorderStarts);
    startDialog(); // from any status
    EXPECT_EQ(node->trace(), listeningBegins() + kTimerStarts + kRecorderStarts);
    speechEnds();
    EXPECT_EQ(node->trace(), dmsEnds() + status("understanding") + kRecorderStops);
    reply(kContinuing);
    EXPECT_EQ(node->trace(), replied(kContinuing) + listeningBegins() + status("listening") +
                                 kTimerStarts + kRecorderStarts);
    EXPECT_EQ(node->log("set check valid dm timerId").size(), 1U);
}

TEST_F(FullDuplex, TheEndOfPlaybackGoesToTheDialogService)
{
    startDialog();
    reply(kContinuingSpoken);
    playbackEnds();
    EXPECT_EQ(node->trace(), (Trace{R"(1016 {"status":"end"})",
                                    R"(context.sync {"sessionId":"s1","async":{"dispatchEvent":)"
                                    R"({"playerState":"off"}}})"}) +
                                 kTimerStarts);
    EXPECT_EQ(node->log("set check valid dm timerId").size(), 1U);
    EXPECT_EQ(node->log("set keepalive timerId").size(), 1U);
    reply(R"({"dm":{"nlg":"x","shouldEndSession":false},"sessionId":"a\"b\\c\n"})");
    playbackEnds();
    EXPECT_EQ(node->traceOf("context.sync").at(0),
              R"(context.sync {"sessionId":"a\"b\\c\n","async":{"dispatchEvent":)"
              R"({"playerState":"off"}}})");
}

TEST_F(FullDuplex, ADialogThatPlayedOutIsResetAndStopped)
{
    startDialog();
    reply(kEndingSpoken);
    node->publish("api.localAgent.speak", R"({"operation":"start"})"); // silent since the reply
    playbackEnds();
    EXPECT_EQ(node->trace(),
              Trace{R"(1016 {"status":"end"})"} + status("silence") + kDmsReset +
                  (Trace{"/localVad/stop (null)", R"(snr.calculation {"status":"end"})",
                         "localDms.cancel (null)"}));
    EXPECT_EQ(node->log("reset kcs").size(), 1U);
    begin(R"({"fullDuplex":"true","enableStreamData":1})");
    playbackEnds();
    EXPECT_EQ(node->traceOf("localDms.reset"), Trace{});
}

TEST_F(FullDuplex, SpeechBehindTheLastTurnIsDropped)
{
    node->publish("api.localAgent.inputText", "{}"); // a session that is to end
    speechEnds();
    EXPECT_EQ(node->trace(), Trace{"localDms.cancel (null)"});
    EXPECT_EQ(node->log("dm shouldEndSession is true, drop current interactive").size(), 1U);
}

TEST_F(FullDuplex, TheHostsLimitsReachTheDialogServiceWithEveryTurn)
{
    const std::string topic = "context.syncDmTimeoutAsrMaxText ";
    startDialog();
    EXPECT_EQ(node->traceOf(topic), Trace{});
    EXPECT_EQ(node->log("updateSessionTimeout: -1, asrMaxTextLength: -1").size(), 1U);
    reply(kContinuing);
    node->publish("api.localAgent.setContextSync", R"({"updateSessionTimeout":30})");
    EXPECT_EQ(node->trace(),
              Trace{topic + R"({"caller":"customer","syncContext":{"sessionId":"s1",)"
                            R"("async":{"dispatchEvent":)"
                            R"({"updateSessionTimeout":30}}}})"});
    node->publish("api.localAgent.setContextSync", R"({"asrMaxTextLength":100})");
    node->publish("api.localAgent.setContextSync", "100 is not an object, but JSON");
    node->publish("api.localAgent.setContextSync", "neither");
    startDialog();
    EXPECT_EQ(node->trace()[2],
              topic + R"({"caller":"dm","syncContext":{"sessionId":"s1","async":{"dispatchEvent":)"
                      R"({"updateSessionTimeout":30,"asrMaxTextLength":100}}}})");
    begin(kHalfDuplex);
    node->publish("api.localAgent.setContextSync", R"({"asrMaxTextLength":100})");
    EXPECT_EQ(node->trace(), Trace{});
    EXPECT_EQ(node->log("not use fullDulpx, not support syncDmTimeoutAsrMaxText").size(), 1U);
}

TEST_F(FullDuplex, ADiscardedResponseListensAgainOrEndsTheDialog)
{
    const auto discard = [&](const std::string &rest) {
        node->publish("sys.rt.output",
                      R"({"dm":{"command":{"api":"discardResponse"})" + rest + "}");
    };
    startDialog();
    discard(R"(,"shouldEndSession":false},"sessionId":"s2")");
    EXPECT_EQ(behindTheFirst(), listeningBegins() + kTimerStarts + kRecorderStarts);
    discard(R"(,"nlg":"speech"})");
    EXPECT_EQ(node->trace().size(), 1U);
    EXPECT_EQ(node->log("clear sessionId: s2").size(), 1U);
    EXPECT_EQ(node->log("not implement shouldEndSession").size(), 1U);
    EXPECT_EQ(node->log("rt.output should not have nlg or speakurl").size(), 1U);
    discard(R"(},"speakUrl":"url")");
    EXPECT_EQ(node->log("rt.output should not have nlg or speakurl").size(), 1U);
    node->publish("sys.rt.output", kEnding); // nothing was discarded
    EXPECT_EQ(node->trace().size(), 1U);
    discard(R"(,"shouldEndSession":true,"nlg":""},"speakUrl":"url")");
    EXPECT_EQ(behindTheFirst(),
              status("silence") + kDmsReset +
                  (Trace{"/localVad/stop (null)", R"(snr.calculation {"status":"end"})"}));
    node->answer(1032, R"({"dm":{"command":{"api":"discardResponse"},"shouldEndSession":false}})");
    discard(R"(,"shouldEndSession":true})");
    EXPECT_EQ(lastStatus(), "listening");
}

TEST_F(FullDuplex, ATurnWithoutReplyIsReportedAndGoesOn)
{
    startDialog();
    reply(kContinuing);
    node->advance(900000);
    EXPECT_EQ(node->trace(), Trace{R"(1044 {"reason":"not dm output"})"});
    EXPECT_EQ(node->log("check valid dm vantelHandle").size(), 2U);
    reply(kContinuing); // the next turn is watched again
    EXPECT_EQ(node->log("kill check valid"), Names{});
    stopDialog();
    EXPECT_EQ(node->log("kill check valid dm timerId").size(), 1U);
}

TEST_F(FullDuplex, TheTimersThatEndADialogStopTheVadsTime)
{
    startDialog();
    reply(kEnding);
    node->advance(40000);
    EXPECT_EQ(node->trace(), kDmsReset + Trace{"/localVad/stop (null)"} + kTimerStops);
}

} // namespace
