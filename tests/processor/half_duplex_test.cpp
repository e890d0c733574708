// Dialogs in half duplex, turn by turn.
#include "tests/processor/dialog_texts.h"

namespace
{

class HalfDuplex : public Dialog
{
protected:
    HalfDuplex() { begin(kHalfDuplex); }
};

TEST_F(HalfDuplex, AReplyWithSpeechWaitsForPlaybackBeforeListeningAgain)
{
    EXPECT_EQ(startDialog(), listeningBegins() + status("listening") + kRecorderStarts);
    EXPECT_EQ(startDialog(), Lines{}) << "a dialog starts from silence only";
    EXPECT_EQ(log(), Lines{"[W]half vantel is not slience, status: 2"});
    EXPECT_EQ(publish("sys.localVad.begin", R"({"status":1})"), Lines{});
    EXPECT_EQ(speechEnds(), listeningEnds() + status("understanding") + kRecorderStops);
    EXPECT_EQ(reply(kContinuingSpoken),
              replied(kContinuingSpoken) + listeningEnds() + kRecorderStops);
    publish("api.localAgent.speak", kPrivileged);
    EXPECT_EQ(playbackEnds(),
              kPlaybackEnds + listeningBegins() + status("listening") + kRecorderStarts);
    EXPECT_EQ(log("topic: "),
              Lines{"[I]topic: sys.localPlayer.wait, data: NULL, shouldEndSession: 0"});
    EXPECT_EQ(logged("set keepalive timerId"), 1U);
    reply(kEndingSpoken);
    EXPECT_EQ(lastStatus(), "silence") << "the rest is playback";
    EXPECT_EQ(logged("kill keepalive timerId"), 1U);
    EXPECT_EQ(logged("[I]clear sessionId: s1"), 1U);
    EXPECT_EQ(playbackEnds(), kPlaybackEnds + Lines{"localDms.cancel (null)"});
    answer(VANTEL_EVENT_PLAYER, R"({"ignore":"true"})");
    EXPECT_EQ(playbackEnds(), kPlaybackEnds);
    EXPECT_EQ(logged("drop player.wait result, due to ignore true, custom: {"), 1U);
}

TEST_F(HalfDuplex, AReplyWithoutSpeechListensAgainAtOnce)
{
    startDialog();
    EXPECT_EQ(reply(kContinuing), replied(kContinuing) + listeningEnds() + listeningBegins() +
                                      kRecorderStops + kRecorderStarts);
    EXPECT_EQ(logged("check valid"), 0U);
}

TEST_F(HalfDuplex, TheHostsAnswerTakesTheReplysPlace)
{
    startDialog();
    answer(VANTEL_EVENT_DM_OUTPUT, kEnding);
    reply(kContinuingSpoken);
    EXPECT_EQ(lastStatus(), "silence");
    // What the answer does not decide stays as it was.
    answer(VANTEL_EVENT_DM_OUTPUT, "not JSON");
    startDialog();
    reply(kEnding);
    EXPECT_EQ(lastStatus(), "listening");
    EXPECT_EQ(logged("[W]not implement shouldEndSession"), 1U);
}

TEST_F(HalfDuplex, AWakeupListensAtOnceOrPlaysItsGreetingFirst)
{
    EXPECT_EQ(wakeUp(R"({"type":"major"})"), Lines{R"(1002 {"type":"major"})"} + kVadStop +
                                                 kDmsReset + kDmsReset + listeningBegins() +
                                                 status("listening") + kRecorderStarts);
    stopDialog();
    wakeUp(R"({"type":"major","greeting":"在"})");
    EXPECT_EQ(lastStatus(), "silence");
    playbackEnds();
    EXPECT_EQ(lastStatus(), "listening");
    stopDialog();
    wakeUp(R"({"type":"command","greeting":"在"})");
    // A command ends its dialog.
    EXPECT_EQ(playbackEnds(), kPlaybackEnds + Lines{"localDms.cancel (null)"});
}

TEST_F(HalfDuplex, TheHostMayDropOrReplaceAWakeup)
{
    answer(VANTEL_EVENT_WAKEUP, R"({"ignore":"true, said the host"})");
    EXPECT_EQ(wakeUp(R"({"type":"major"})"), Lines{R"(1002 {"type":"major"})"});
    EXPECT_EQ(logged("drop wakeup result, due to ignore true, custom: {"), 1U);
    answer(VANTEL_EVENT_WAKEUP, R"({"type":"command","greeting":"在"})");
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(statuses(), Lines{});
    answer(VANTEL_EVENT_WAKEUP, "what?"); // still counts as the text
    wakeUp(R"({"type":"major"})");
    EXPECT_EQ(logged("[W]not implement"), 1U);
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
    EXPECT_EQ(startListening(),
              listeningBegins(R"({"aiType":"asr"})") + status("listening") + kRecorderStarts);
    EXPECT_EQ(stopListening(), listeningEnds() + status("understanding") + kRecorderStops);
    // There is no dialog.
    EXPECT_EQ(publish("sys.localDm.result", kContinuing), Lines{});
    EXPECT_EQ(recognised(R"({"eof":0})"), Lines{R"(1004 {"eof":0})"});
    EXPECT_EQ(recognised(R"({"eof":1})"), status("silence") + Lines{R"(1004 {"eof":1})"});
    stopListening();
    EXPECT_EQ(log(), Lines{"[W]not call vantelStartListening or already asr "
                           "result"});
}

TEST_F(HalfDuplex, AStoppedDialogIsResetUnlessItIsKeptAlive)
{
    startDialog();
    EXPECT_EQ(stopDialog(), kVadStop + kDmsReset + status("silence"));
    startDialog();
    EXPECT_EQ(publish("api.localAgent.dialogCtrl", kKeepAlive), kVadStop + status("silence"));
    EXPECT_EQ(logged("[I]keepAlive temporary policy"), 1U);
    EXPECT_EQ(logged("disable wakeup"), 1U);
    publish("api.localAgent.setting", kStart); // wakeup is the engine's own matter
    startDialog();
    stopDialog();
    EXPECT_EQ(logged("disable wakeup"), 0U);
}

TEST_F(HalfDuplex, SpeechOutsideADialogIsDroppedAndSilenceInsideEndsTheTurn)
{
    const std::string timedOut = "[I]vad timeout";
    const std::string cancelled = "[I]onCancel dms";
    const std::string silent = "[I]dm status is slience, drop current interactive";
    const std::string ending = "[I]dm shouldEndSession is true, drop current interactive";
    EXPECT_EQ(speechEnds(), Lines{"localDms.cancel (null)"});
    EXPECT_EQ(log(), (Lines{silent, cancelled}));
    publish("sys.vad.timeout", std::nullopt);
    EXPECT_EQ(log(), (Lines{timedOut, silent, cancelled}));
    startDialog();
    EXPECT_EQ(publish("sys.vad.timeout", std::nullopt),
              listeningEnds() + status("understanding") + kRecorderStops);
    wakeUp(R"({"type":"command"})"); // a command's dialog ends with its turn
    publish("sys.vad.timeout", std::nullopt);
    EXPECT_EQ(log(), (Lines{timedOut, ending, cancelled}));
}

TEST_F(HalfDuplex, WithoutVadOfItsOwnTheRecogniserDecidesTheEndOfSpeech)
{
    begin(R"({"asr":{"disableVAD":"true"}})");
    startDialog();
    EXPECT_EQ(speechEnds(), kVadStop);
    stopDialog();
    startListening();
    EXPECT_EQ(speechEnds(), kVadStop + Lines{"/localVad/start (null)"});
    begin(R"({"vprRuntime":{"disableVAD":"true"},"vad":{"fullMode":1}})");
    startListening();
    EXPECT_EQ(speechEnds(), Lines{});
}

TEST_F(HalfDuplex, SpeechOfTheHostInterruptsAListeningTurnWhenItMay)
{
    startDialog();
    for (const auto &[request, line] : {std::pair{kStart, "[W]disable speak start in dialog"},
                                        {"{}", "[E]need operation, format error"}}) {
        EXPECT_EQ(publish("api.localAgent.speak", request), Lines{});
        EXPECT_EQ(log(), Lines{line});
    }
    EXPECT_EQ(publish("api.localAgent.speak", kPrivileged),
              kVadStop + status("silence") + status("speaking"));
    EXPECT_EQ(logged("[I]half not listening, due to tts"), 1U);
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
    const std::string notBegun = "[W]not feedCustomDataBegin";
    EXPECT_EQ(log(), (Lines{"[E]disable feedCustomDataBegin in dialog", notBegun,
                            "[E] not feedCustomDataBegin", notBegun}));
    stopDialog();
    play();
    EXPECT_EQ(trace(), Lines{"localTts.begin (null)"} + kVadStop +
                           Lines{"localPlayer.ctrl " + kStart} + status("speaking") +
                           (Lines{"1016 " + kStart, "localTts.pcm pcm", "localTts.end (null)"}));
}

TEST_F(HalfDuplex, TextAndIntentsAwaitAReply)
{
    EXPECT_EQ(publish("api.localAgent.inputText", "{}"), status("understanding"));
    EXPECT_EQ(publish("api.localAgent.triggerIntent", "{}"), Lines{}); // it does already
}

TEST_F(HalfDuplex, ErrorsEndTheDialogUnlessTheyAreNotItsOwn)
{
    const std::string dialog = "[V]drop dialog handle";
    const std::string device = "[V]drop th handle";
    const std::string unknown = "[E]noknown error";
    const std::pair<int, std::string> cases[] = {{VANTEL_ERROR_ASR_NULL, dialog},
                                                 {VANTEL_ERROR_TRIGGER_INTENT_PARAMS, dialog},
                                                 {VANTEL_ERROR_LASR_NOT_CONNECTED, unknown},
                                                 {VANTEL_ERROR_VOCABS_UPDATE_TIMEOUT, dialog},
                                                 {-7738, unknown},
                                                 {VANTEL_ERROR_DM_TIMEOUT, ""},
                                                 {VANTEL_ERROR_CLOUD_TTS_UNREACHABLE, ""},
                                                 {VANTEL_ERROR_QX_DOWNLOAD, device},
                                                 {VANTEL_ERROR_QX_INFO, device},
                                                 {-7077, unknown},
                                                 {VANTEL_ERROR_PARAMS, device},
                                                 {0, unknown}};
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
    answer(VANTEL_EVENT_ERROR, R"({"errId":-7099})");
    publish("sys.vantel.error", R"({"errId":-7999})");
    EXPECT_EQ(lastStatus(), "listening"); // as the host would have it
}

} // namespace
