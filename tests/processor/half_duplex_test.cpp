// Dialogs in half duplex, turn by turn.
#include "tests/processor/dialog_texts.h"

using Names = std::vector<std::string>;

namespace
{

const Trace kPlaybackEnds = {R"(1016 {"status":"end"})"};

class HalfDuplex : public Dialog
{
protected:
    HalfDuplex() { begin(kHalfDuplex); }
};

TEST_F(HalfDuplex, ADialogOfOneTurnEndsInSilence)
{
    startDialog();
    EXPECT_EQ(node->trace(), listeningBegins() + status("listening") + kRecorderStarts);
    startDialog(); // a dialog starts from silence only
    EXPECT_EQ(node->log(), Names{"[W]  ZQ-localProcessor half vantel is not slience, status: 2"});
    EXPECT_EQ(node->trace(), Trace{});
    speechBegins();
    EXPECT_EQ(node->trace(), Trace{});
    speechEnds();
    EXPECT_EQ(node->trace(), listeningEnds() + status("understanding") + kRecorderStops);
    recognised(R"({"eof":1})");
    EXPECT_EQ(node->trace(), Trace{R"(1004 {"eof":1})"});
    reply(kEnding);
    EXPECT_EQ(node->trace(),
              replied(kEnding) + listeningEnds() + status("silence") + kRecorderStops);
}

TEST_F(HalfDuplex, AReplyWithSpeechWaitsForPlaybackBeforeListeningAgain)
{
    startDialog();
    speechEnds();
    reply(kContinuingSpoken);
    EXPECT_EQ(node->trace(), replied(kContinuingSpoken) + listeningEnds() + kRecorderStops);
    node->publish("api.localAgent.speak", R"({"operation":"start","privilege":"true"})");
    playbackEnds();
    EXPECT_EQ(node->trace(),
              kPlaybackEnds + listeningBegins() + status("listening") + kRecorderStarts);
    EXPECT_EQ(node->log("topic: "), Names{"[I]  ZQ-localProcessor topic: sys.localPlayer.wait, "
                                          "data: NULL, shouldEndSession: 0"});
    EXPECT_EQ(node->log("set keepalive timerId").size(), 1U);
    reply(kEndingSpoken);
    EXPECT_EQ(lastStatus(), "silence"); // the rest is playback
    EXPECT_EQ(node->log("kill keepalive timerId").size(), 1U);
    EXPECT_EQ(node->log("[I]  ZQ-localProcessor clear sessionId: s1").size(), 1U);
    playbackEnds();
    EXPECT_EQ(node->trace(), kPlaybackEnds + Trace{"localDms.cancel (null)"});
    node->answer(1016, R"({"ignore":"true"})");
    playbackEnds();
    EXPECT_EQ(node->trace(), kPlaybackEnds);
    EXPECT_EQ(node->log("drop player.wait result, due to ignore true, custom: {").size(), 1U);
}

TEST_F(HalfDuplex, AReplyWithoutSpeechListensAgainAtOnce)
{
    startDialog();
    reply(kContinuing);
    EXPECT_EQ(node->trace(), replied(kContinuing) + listeningEnds() + listeningBegins() +
                                 kRecorderStops + kRecorderStarts);
    EXPECT_EQ(node->log("check valid"), Names{});
}

TEST_F(HalfDuplex, TheHostsAnswerTakesTheReplysPlace)
{
    startDialog();
    node->answer(1005, kEnding);
    reply(kContinuingSpoken);
    EXPECT_EQ(lastStatus(), "silence");
    // What the answer does not decide stays as it was.
    node->answer(1005, "not JSON");
    startDialog();
    reply(kEnding);
    EXPECT_EQ(lastStatus(), "listening");
    EXPECT_EQ(node->log("[W]  ZQ-localProcessor not implement shouldEndSession").size(), 1U);
}

TEST_F(HalfDuplex, AWakeupListensAtOnceOrPlaysItsGreetingFirst)
{
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(node->trace(), (Trace{R"(1002 {"type":"major"})", "/localVad/stop (null)"}) +
                                 kDmsReset + kDmsReset + listeningBegins() + status("listening") +
                                 kRecorderStarts);
    stopDialog();
    wakeUp(R"({"type":"major","greeting":"在"})");
    EXPECT_EQ(lastStatus(), "silence");
    playbackEnds();
    EXPECT_EQ(lastStatus(), "listening");
    stopDialog();
    wakeUp(R"({"type":"command","greeting":"在"})");
    playbackEnds(); // which ends the dialog
    EXPECT_EQ(node->trace(), kPlaybackEnds + Trace{"localDms.cancel (null)"});
}

TEST_F(HalfDuplex, TheHostMayDropOrReplaceAWakeup)
{
    node->answer(1002, R"({"ignore":"true, said the host"})");
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(node->trace(), Trace{R"(1002 {"type":"major"})"});
    EXPECT_EQ(node->log("drop wakeup result, due to ignore true, custom: {").size(), 1U);
    node->answer(1002, R"({"type":"command","greeting":"在"})");
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(node->statuses(), Names{});
    node->answer(1002, "what?"); // still counts as the text
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(node->log("[W]  ZQ-localProcessor not implement").size(), 1U);
    EXPECT_EQ(lastStatus(), "listening");
}

TEST_F(HalfDuplex, AWakeupsActionReachesTheHostOrTheBus)
{
    wakeUp(R"({"type":"command","greeting":"在","action":"volume \"up\""})");
    EXPECT_EQ(node->trace().back(), R"(1013 {"api":"volume \"up\""})");
    begin(kHalfDuplex, Host::absent);
    wakeUp(R"({"type":"command","greeting":"在","action":"up"})");
    EXPECT_EQ(node->trace().back(), R"(localDms.commandApi {"api":"up"})");
}

TEST_F(HalfDuplex, AListeningOnlyTurnEndsWithItsFinalResult)
{
    startListening();
    EXPECT_EQ(node->trace(),
              listeningBegins(R"({"aiType":"asr"})") + status("listening") + kRecorderStarts);
    stopListening();
    EXPECT_EQ(node->trace(), listeningEnds() + status("understanding") + kRecorderStops);
    node->publish("sys.localDm.result", kContinuing); // there is no dialog
    EXPECT_EQ(node->trace(), Trace{});
    recognised(R"({"eof":0})");
    EXPECT_EQ(node->trace(), Trace{R"(1004 {"eof":0})"});
    recognised(R"({"eof":1})");
    EXPECT_EQ(node->trace(), status("silence") + Trace{R"(1004 {"eof":1})"});
    stopListening();
    EXPECT_EQ(node->log(), Names{"[W]  ZQ-localProcessor not call vantelStartListening or "
                                 "already asr result"});
}

TEST_F(HalfDuplex, LocalResultsBecomeThoseOfTheDialogService)
{
    startDialog();
    node->publish("sys.localAsr.result", R"({"eof":1})");
    EXPECT_EQ(node->trace(), kDmsReset + (Trace{R"(asr.result {"eof":1})", R"(1004 {"eof":1})"}));
    const std::string command = R"({"api":"light","on":true})";
    const std::string result = R"({"dm":{"command":)" + command + R"(, "shouldEndSession":true}})";
    node->publish("sys.localDm.result", result);
    EXPECT_EQ(node->trace(), kDmsReset +
                                 (Trace{"localDms.commandApi " + command, "dms.output " + result,
                                        "1013 " + command, "1005 " + result}) +
                                 listeningEnds() + status("silence") + kRecorderStops);
}

TEST_F(HalfDuplex, AStoppedDialogIsResetUnlessItIsKeptAlive)
{
    startDialog();
    stopDialog();
    EXPECT_EQ(node->trace(), Trace{"/localVad/stop (null)"} + kDmsReset + status("silence"));
    startDialog();
    node->publish("api.localAgent.dialogCtrl", R"({"operation":"stop","keepAlive":"temporary"})");
    EXPECT_EQ(node->trace(), Trace{"/localVad/stop (null)"} + status("silence"));
    EXPECT_EQ(node->log("[I]  ZQ-localProcessor keepAlive temporary policy").size(), 1U);
    EXPECT_EQ(node->log("disable wakeup").size(), 1U);
    node->publish("api.localAgent.setting", kStart); // wakeup is the engine's own matter
    startDialog();
    stopDialog();
    EXPECT_EQ(node->log("disable wakeup"), Names{});
}

TEST_F(HalfDuplex, SpeechOutsideADialogIsDroppedAndSilenceInsideEndsTheTurn)
{
    const std::string timedOut = "[I]  ZQ-localProcessor vad timeout";
    const std::string cancelled = "[I]  ZQ-localProcessor onCancel dms";
    const std::string silent =
        "[I]  ZQ-localProcessor dm status is slience, drop current interactive";
    speechEnds();
    EXPECT_EQ(node->trace(), Trace{"localDms.cancel (null)"});
    EXPECT_EQ(node->log(), (Names{silent, cancelled}));
    node->publishNull("sys.vad.timeout");
    EXPECT_EQ(node->log(), (Names{timedOut, silent, cancelled}));
    startDialog();
    node->publishNull("sys.vad.timeout");
    EXPECT_EQ(node->trace(), listeningEnds() + status("understanding") + kRecorderStops);
    wakeUp(R"({"type":"command"})"); // a command's dialog ends with its turn
    node->publishNull("sys.vad.timeout");
    EXPECT_EQ(node->log(),
              (Names{timedOut,
                     "[I]  ZQ-localProcessor dm shouldEndSession is true, drop current interactive",
                     cancelled}));
}

TEST_F(HalfDuplex, WithoutVadOfItsOwnTheRecogniserDecidesTheEndOfSpeech)
{
    begin(R"({"asr":{"disableVAD":"true"}})");
    startDialog();
    speechEnds();
    EXPECT_EQ(node->trace(), Trace{"/localVad/stop (null)"});
    stopDialog();
    startListening();
    speechEnds();
    EXPECT_EQ(node->trace(), (Trace{"/localVad/stop (null)", "/localVad/start (null)"}));
    begin(R"({"vprRuntime":{"disableVAD":"true"},"vad":{"fullMode":1}})");
    startListening();
    speechEnds();
    EXPECT_EQ(node->trace(), Trace{});
}

TEST_F(HalfDuplex, SpeechOfTheHostInterruptsAListeningTurnWhenItMay)
{
    startDialog();
    for (const auto &[request, line] :
         {std::pair{kStart, "[W]  ZQ-localProcessor disable speak start in dialog"},
          {"{}", "[E]  ZQ-localProcessor need operation, format error"}}) {
        node->publish("api.localAgent.speak", request);
        EXPECT_EQ(node->trace(), Trace{});
        EXPECT_EQ(node->log(), Names{line});
    }
    node->publish("api.localAgent.speak", R"({"operation":"start","privilege":"true"})");
    EXPECT_EQ(node->trace(),
              Trace{"/localVad/stop (null)"} + status("silence") + status("speaking"));
    EXPECT_EQ(node->log("[I]  ZQ-localProcessor half not listening, due to tts").size(), 1U);
}

TEST_F(HalfDuplex, AudioOfTheHostGoesToThePlayerOnceItHasBegun)
{
    const auto play = [&] {
        node->publish("api.localAgent.customDataBegin", "{}");
        node->send("api.localTts.customData", "pcm");
        node->send("api.localAgent.customDataEnd", "");
        node->send("api.localTts.customData", "late");
        node->settle();
    };
    startDialog();
    play();
    EXPECT_EQ(node->trace(), Trace{});
    const std::string notBegun = "[W]  ZQ-localProcessor not feedCustomDataBegin";
    EXPECT_EQ(node->log(),
              (Names{"[E]  ZQ-localProcessor disable feedCustomDataBegin in dialog", notBegun,
                     "[E]  ZQ-localProcessor  not feedCustomDataBegin", notBegun}));
    stopDialog();
    play();
    EXPECT_EQ(node->trace(), (Trace{"localTts.begin (null)", "/localVad/stop (null)",
                                    std::string("localPlayer.ctrl ") + kStart}) +
                                 status("speaking") +
                                 (Trace{std::string("1016 ") + kStart, "localTts.pcm pcm",
                                        "localTts.end (null)"}));
}

TEST_F(HalfDuplex, TextAndIntentsAwaitAReply)
{
    node->publish("api.localAgent.inputText", "{}");
    EXPECT_EQ(node->trace(), status("understanding"));
    node->publish("api.localAgent.triggerIntent", "{}");
    EXPECT_EQ(node->trace(), Trace{}); // it does already
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
        begin(kHalfDuplex);
        startDialog();
        node->publish("sys.vantel.error", R"({"errId":)" + std::to_string(code) + "}");
        Names lines;
        for (const std::string &known : {dialog, device, unknown})
            lines.insert(lines.end(), node->log(known).size(), known);
        EXPECT_EQ(lines, line.empty() ? Names{} : Names{line}) << code;
        EXPECT_EQ(lastStatus(), line == device ? "listening" : "silence") << code;
        EXPECT_EQ(node->traceOf("localDms.reset").size(), 1U) << code;
    }
    startDialog();
    node->answer(1006, R"({"errId":-7099})");
    node->publish("sys.vantel.error", R"({"errId":-7999})");
    EXPECT_EQ(lastStatus(), "listening"); // as the host would have it
}

} // namespace
