// Dialogs in half duplex, turn by turn.
#include "tests/processor/dialog_texts.h"

namespace
{

class HalfDuplex : public Dialog
{
protected:
    HalfDuplex() { begin(kHalfDuplex); }
};

TEST_F(HalfDuplex, ADialogOfOneTurnEndsInSilence)
{
    startDialog();
    EXPECT_EQ(trace(), listeningBegins() + status("listening") + kRecorderStarts);
    startDialog(); // a dialog starts from silence only
    EXPECT_EQ(log(), Lines{"[W]  ZQ-localProcessor half vantel is not slience, status: 2"});
    EXPECT_EQ(trace(), Lines{});
    publish("sys.localVad.begin", R"({"status":1})");
    EXPECT_EQ(trace(), Lines{});
    speechEnds();
    EXPECT_EQ(trace(), listeningEnds() + status("understanding") + kRecorderStops);
    recognised(R"({"eof":1})");
    EXPECT_EQ(trace(), Lines{R"(1004 {"eof":1})"});
    reply(kEnding);
    EXPECT_EQ(trace(), replied(kEnding) + listeningEnds() + status("silence") + kRecorderStops);
}

TEST_F(HalfDuplex, AReplyWithSpeechWaitsForPlaybackBeforeListeningAgain)
{
    startDialog();
    speechEnds();
    reply(kContinuingSpoken);
    EXPECT_EQ(trace(), replied(kContinuingSpoken) + listeningEnds() + kRecorderStops);
    publish("api.localAgent.speak", kPrivileged);
    playbackEnds();
    EXPECT_EQ(trace(), kPlaybackEnds + listeningBegins() + status("listening") + kRecorderStarts);
    EXPECT_EQ(log("topic: "), Lines{"[I]  ZQ-localProcessor topic: sys.localPlayer.wait, data: "
                                    "NULL, shouldEndSession: 0"});
    EXPECT_EQ(logged("set keepalive timerId"), 1U);
    reply(kEndingSpoken);
    EXPECT_EQ(lastStatus(), "silence"); // the rest is playback
    EXPECT_EQ(logged("kill keepalive timerId"), 1U);
    EXPECT_EQ(logged("[I]  ZQ-localProcessor clear sessionId: s1"), 1U);
    playbackEnds();
    EXPECT_EQ(trace(), kPlaybackEnds + Lines{"localDms.cancel (null)"});
    answer(1016, R"({"ignore":"true"})");
    playbackEnds();
    EXPECT_EQ(trace(), kPlaybackEnds);
    EXPECT_EQ(logged("drop player.wait result, due to ignore true, custom: {"), 1U);
}

TEST_F(HalfDuplex, AReplyWithoutSpeechListensAgainAtOnce)
{
    startDialog();
    reply(kContinuing);
    EXPECT_EQ(trace(), replied(kContinuing) + listeningEnds() + listeningBegins() + kRecorderStops +
                           kRecorderStarts);
    EXPECT_EQ(logged("check valid"), 0U);
}

TEST_F(HalfDuplex, TheHostsAnswerTakesTheReplysPlace)
{
    startDialog();
    answer(1005, kEnding);
    reply(kContinuingSpoken);
    EXPECT_EQ(lastStatus(), "silence");
    // What the answer does not decide stays as it was.
    answer(1005, "not JSON");
    startDialog();
    reply(kEnding);
    EXPECT_EQ(lastStatus(), "listening");
    EXPECT_EQ(logged("[W]  ZQ-localProcessor not implement shouldEndSession"), 1U);
}

TEST_F(HalfDuplex, AWakeupListensAtOnceOrPlaysItsGreetingFirst)
{
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(trace(), Lines{R"(1002 {"type":"major"})"} + kVadStop + kDmsReset + kDmsReset +
                           listeningBegins() + status("listening") + kRecorderStarts);
    stopDialog();
    wakeUp(R"({"type":"major","greeting":"在"})");
    EXPECT_EQ(lastStatus(), "silence");
    playbackEnds();
    EXPECT_EQ(lastStatus(), "listening");
    stopDialog();
    wakeUp(R"({"type":"command","greeting":"在"})");
    playbackEnds(); // which ends the dialog
    EXPECT_EQ(trace(), kPlaybackEnds + Lines{"localDms.cancel (null)"});
}

TEST_F(HalfDuplex, TheHostMayDropOrReplaceAWakeup)
{
    answer(1002, R"({"ignore":"true, said the host"})");
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(trace(), Lines{R"(1002 {"type":"major"})"});
    EXPECT_EQ(logged("drop wakeup result, due to ignore true, custom: {"), 1U);
    answer(1002, R"({"type":"command","greeting":"在"})");
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(statuses(), Lines{});
    answer(1002, "what?"); // still counts as the text
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(logged("[W]  ZQ-localProcessor not implement"), 1U);
    EXPECT_EQ(lastStatus(), "listening");
}

TEST_F(HalfDuplex, AWakeupsActionReachesTheHostOrTheBus)
{
    wakeUp(R"({"type":"command","greeting":"在","action":"volume \"up\""})");
    EXPECT_EQ(trace().back(), R"(1013 {"api":"volume \"up\""})");
    begin(kHalfDuplex, Host::absent);
    wakeUp(R"({"type":"command","greeting":"在","action":"up"})");
    EXPECT_EQ(trace().back(), R"(localDms.commandApi {"api":"up"})");
}

TEST_F(HalfDuplex, AListeningOnlyTurnEndsWithItsFinalResult)
{
    startListening();
    EXPECT_EQ(trace(),
              listeningBegins(R"({"aiType":"asr"})") + status("listening") + kRecorderStarts);
    stopListening();
    EXPECT_EQ(trace(), listeningEnds() + status("understanding") + kRecorderStops);
    publish("sys.localDm.result", kContinuing); // there is no dialog
    EXPECT_EQ(trace(), Lines{});
    recognised(R"({"eof":0})");
    EXPECT_EQ(trace(), Lines{R"(1004 {"eof":0})"});
    recognised(R"({"eof":1})");
    EXPECT_EQ(trace(), status("silence") + Lines{R"(1004 {"eof":1})"});
    stopListening();
    EXPECT_EQ(log(), Lines{"[W]  ZQ-localProcessor not call vantelStartListening or already asr "
                           "result"});
}

TEST_F(HalfDuplex, AStoppedDialogIsResetUnlessItIsKeptAlive)
{
    startDialog();
    stopDialog();
    EXPECT_EQ(trace(), kVadStop + kDmsReset + status("silence"));
    startDialog();
    publish("api.localAgent.dialogCtrl", kKeepAlive);
    EXPECT_EQ(trace(), kVadStop + status("silence"));
    EXPECT_EQ(logged("[I]  ZQ-localProcessor keepAlive temporary policy"), 1U);
    EXPECT_EQ(logged("disable wakeup"), 1U);
    publish("api.localAgent.setting", kStart); // wakeup is the engine's own matter
    startDialog();
    stopDialog();
    EXPECT_EQ(logged("disable wakeup"), 0U);
}

TEST_F(HalfDuplex, SpeechOutsideADialogIsDroppedAndSilenceInsideEndsTheTurn)
{
    const std::string timedOut = "[I]  ZQ-localProcessor vad timeout";
    const std::string cancelled = "[I]  ZQ-localProcessor onCancel dms";
    const std::string silent =
        "[I]  ZQ-localProcessor dm status is slience, drop current interactive";
    const std::string ending =
        "[I]  ZQ-localProcessor dm shouldEndSession is true, drop current interactive";
    speechEnds();
    EXPECT_EQ(trace(), Lines{"localDms.cancel (null)"});
    EXPECT_EQ(log(), (Lines{silent, cancelled}));
    publishNull("sys.vad.timeout");
    EXPECT_EQ(log(), (Lines{timedOut, silent, cancelled}));
    startDialog();
    publishNull("sys.vad.timeout");
    EXPECT_EQ(trace(), listeningEnds() + status("understanding") + kRecorderStops);
    wakeUp(R"({"type":"command"})"); // a command's dialog ends with its turn
    publishNull("sys.vad.timeout");
    EXPECT_EQ(log(), (Lines{timedOut, ending, cancelled}));
}

TEST_F(HalfDuplex, WithoutVadOfItsOwnTheRecogniserDecidesTheEndOfSpeech)
{
    begin(R"({"asr":{"disableVAD":"true"}})");
    startDialog();
    speechEnds();
    EXPECT_EQ(trace(), kVadStop);
    stopDialog();
    startListening();
    speechEnds();
    EXPECT_EQ(trace(), kVadStop + Lines{"/localVad/start (null)"});
    begin(R"({"vprRuntime":{"disableVAD":"true"},"vad":{"fullMode":1}})");
    startListening();
    speechEnds();
    EXPECT_EQ(trace(), Lines{});
}

TEST_F(HalfDuplex, SpeechOfTheHostInterruptsAListeningTurnWhenItMay)
{
    startDialog();
    for (const auto &[request, line] :
         {std::pair{kStart, "[W]  ZQ-localProcessor disable speak start in dialog"},
          {"{}", "[E]  ZQ-localProcessor need operation, format error"}}) {
        publish("api.localAgent.speak", request);
        EXPECT_EQ(trace(), Lines{});
        EXPECT_EQ(log(), Lines{line});
    }
    publish("api.localAgent.speak", kPrivileged);
    EXPECT_EQ(trace(), kVadStop + status("silence") + status("speaking"));
    EXPECT_EQ(logged("[I]  ZQ-localProcessor half not listening, due to tts"), 1U);
}

TEST_F(HalfDuplex, AudioOfTheHostGoesToThePlayerOnceItHasBegun)
{
    const auto play = [&] {
        publish("api.localAgent.customDataBegin", "{}");
        send("api.localTts.customData", "pcm");
        send("api.localAgent.customDataEnd", "");
        send("api.localTts.customData", "late");
    };
    startDialog();
    play();
    EXPECT_EQ(trace(), Lines{});
    const std::string notBegun = "[W]  ZQ-localProcessor not feedCustomDataBegin";
    EXPECT_EQ(log(),
              (Lines{"[E]  ZQ-localProcessor disable feedCustomDataBegin in dialog", notBegun,
                     "[E]  ZQ-localProcessor  not feedCustomDataBegin", notBegun}));
    stopDialog();
    play();
    EXPECT_EQ(trace(), Lines{"localTts.begin (null)"} + kVadStop +
                           Lines{"localPlayer.ctrl " + kStart} + status("speaking") +
                           (Lines{"1016 " + kStart, "localTts.pcm pcm", "localTts.end (null)"}));
}

TEST_F(HalfDuplex, TextAndIntentsAwaitAReply)
{
    publish("api.localAgent.inputText", "{}");
    EXPECT_EQ(trace(), status("understanding"));
    publish("api.localAgent.triggerIntent", "{}");
    EXPECT_EQ(trace(), Lines{}); // it does already
}

TEST_F(HalfDuplex, ErrorsEndTheDialogUnlessTheyAreNotItsOwn)
{
    const std::string dialog = "[V]  ZQ-localProcessor drop dialog handle";
    const std::string device = "[V]  ZQ-localProcessor drop th handle";
    const std::string unknown = "[E]  ZQ-localProcessor noknown error";
    const std::pair<int, std::string> cases[] = {
        {-7999, dialog},  {-7782, dialog},  {-7781, unknown}, {-7754, dialog},
        {-7738, unknown}, {-7799, ""},      {-7498, ""},      {-7099, device},
        {-7078, device},  {-7077, unknown}, {-6899, device},  {0, unknown}};
    for (const auto &[code, line] : cases) {
        SCOPED_TRACE(code);
        begin(kHalfDuplex);
        startDialog();
        publish("sys.vantel.error", R"({"errId":)" + std::to_string(code) + "}");
        EXPECT_EQ(log(dialog) + log(device) + log(unknown), line.empty() ? Lines{} : Lines{line});
        EXPECT_EQ(lastStatus(), line == device ? "listening" : "silence");
        EXPECT_EQ(traceOf("localDms.reset").size(), 1U);
    }
    startDialog();
    answer(1006, R"({"errId":-7099})");
    publish("sys.vantel.error", R"({"errId":-7999})");
    EXPECT_EQ(lastStatus(), "listening"); // as the host would have it
}

} // namespace
