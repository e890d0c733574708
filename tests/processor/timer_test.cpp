// Every wait of a dialog has an end.
#include "tests/processor/dialog_texts.h"

namespace
{

class Waits : public Dialog
{
protected:
    void awaitReply(const char *configuration = kHalfDuplex)
    {
        begin(configuration);
        startDialog();
        speechEnds();
    }
    void playAndGoOn()
    {
        begin(R"({"keepAliveTimeout":30000,"dmTimeOut":600000})");
        startDialog();
        reply(kContinuingSpoken);
        playbackEnds();
    }
};

TEST_F(Waits, AReplyThatDoesNotComeEndsTheDialog)
{
    awaitReply();
    EXPECT_EQ(pass(599000), Lines{});
    const std::string report = R"({"errId":-7799,"errMsg":"dm network timeout"})";
    EXPECT_EQ(pass(1000), (Lines{"vantel.error " + report, "1006 " + report}) + listeningEnds() +
                              kDmsReset + status("silence") + kRecorderStops);

    begin(R"({"asrRes":"r","dmTimeOut":600000})");
    startListening();
    stopListening();
    pass(600000);
    EXPECT_EQ(traceOf("1006"),
              Lines{R"(1006 {"errId":-7794,"errMsg":"cloud asr server timeout"})"});
    stopListening(); // nobody listens any more
    EXPECT_EQ(logged("not call vantelStartListening or already asr result"), 1U);
}

TEST_F(Waits, WhatHappensMeanwhileEndsTheWaitForAReply)
{
    const std::pair<const char *, std::string> events[] = {
        {"sys.localVad.begin", "{}"},
        {"sys.asr.result", "{}"},
        {"sys.rt.output", "{}"},
        {"sys.dms.output", R"({"dm":{"dataFrom":"native","shouldEndSession":true}})"},
        {"api.localAgent.speak", kPrivileged},
        {"api.localAgent.dialogCtrl", kStop},
    };
    for (const auto &[topic, data] : events) {
        SCOPED_TRACE(topic);
        awaitReply();
        publish(topic, data);
        EXPECT_EQ(logged("kill timerId"), 1U);
        EXPECT_EQ(traceOf("1005"), Lines{}) << "a native reply is not the host's";
        pass(600000);
        EXPECT_EQ(traceOf("1006"), Lines{});
    }
}

TEST_F(Waits, TheEndOfRecognitionEndsTheDialogWithAConfiguredService)
{
    awaitReply(R"({"asrRes":"r","dmTimeOut":600000})");
    EXPECT_EQ(publish("sys.asr.end", std::nullopt), status("silence"));
    startDialog();
    publish("sys.asr.end", std::nullopt); // no wait to end
    EXPECT_EQ(lastStatus(), "listening");
    awaitReply();
    EXPECT_EQ(publish("sys.asr.end", std::nullopt), Lines{});
}

TEST_F(Waits, ASkillThatTheHostDoesNotAnswerTimesOut)
{
    const std::string kUnanswered =
        R"({"errId":-7795,"errMsg":"native api need feed back to server"})";
    awaitReply();
    publish("sys.localDms.nativeApi", "{}");
    EXPECT_EQ(log(), (Lines{"[D]kill timerId 1", "[D]set skill timerId 2",
                            "[I]dmNativeApi vantelHandle stamp, data: {}",
                            "[V]dmNativeApi vantelHandle, customdata: NULL", "[W]" + kUnanswered}));
    pass(10000);
    EXPECT_EQ(traceOf("1006"), Lines{R"(1006 {"errId":-7796,"errMsg":"skills response timeout"})"});
    EXPECT_EQ(lastStatus(), "silence");
}

TEST_F(Waits, ASkillsAnswerGoesToTheDialogServiceWhoseReplyEndsTheWait)
{
    awaitReply();
    answer(VANTEL_EVENT_NATIVE_API, "not even JSON");
    EXPECT_EQ(publish("sys.localDms.nativeApi", R"({"api":"clock"})"),
              (Lines{R"(1014 {"api":"clock"})", "localProcessor.nativeResponse not even JSON"}));
    reply(kContinuing);
    pass(10000);
    EXPECT_EQ(traceOf("1006"), Lines{});
    begin(kHalfDuplex, Host::absent);
    publish("sys.localDms.nativeApi", "{}");
    EXPECT_EQ(log(), Lines{"[D]set skill timerId 1"});
}

TEST_F(Waits, ADialogThatStaysSilentIsReset)
{
    begin(kHalfDuplex);
    startDialog();
    stopDialog();
    pass(39000);
    startDialog();
    EXPECT_EQ(pass(40000), Lines{});
    stopDialog();
    EXPECT_EQ(pass(40000), kDmsReset + kVadStop);
    EXPECT_EQ(log(),
              (Lines{"[V]finish cancel dilaog timerId 2", "[I]onReset dms", "[I]onStop vad"}));
}

TEST_F(Waits, ADialogThatIsNotUsedAgainEndsInSilence)
{
    playAndGoOn();
    EXPECT_EQ(pass(30000), kDmsReset + kVadStop + status("silence"));
    EXPECT_EQ(logged("[V]finish keepAlive timerId "), 1U);
    // It may be stopped and kept alive,
    playAndGoOn();
    publish("api.localAgent.dialogCtrl", kKeepAlive);
    EXPECT_EQ(pass(30000), kDmsReset + kVadStop);
    // or stopped for good.
    playAndGoOn();
    stopDialog();
    EXPECT_EQ(pass(30000), Lines{});
}

} // namespace
