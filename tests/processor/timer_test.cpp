// Every wait of a dialog has an end.
#include "tests/processor/dialog_texts.h"

using Names = std::vector<std::string>;

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
    node->advance(599000);
    EXPECT_EQ(node->trace(), Trace{});
    node->advance(1000);
    const std::string report = R"({"errId":-7799,"errMsg":"dm network timeout"})";
    EXPECT_EQ(node->trace(), (Trace{"vantel.error " + report, "1006 " + report}) + listeningEnds() +
                                 kDmsReset + status("silence") + kRecorderStops);

    begin(R"({"asrRes":"r","dmTimeOut":600000})");
    startListening();
    stopListening();
    node->advance(600000);
    EXPECT_EQ(node->traceOf("1006"),
              Trace{R"(1006 {"errId":-7794,"errMsg":"cloud asr server timeout"})"});
    stopListening(); // nobody listens any more
    EXPECT_EQ(node->log("not call vantelStartListening or already asr result").size(), 1U);
}

TEST_F(Waits, WhatHappensMeanwhileEndsTheWaitForAReply)
{
    const std::pair<const char *, const char *> events[] = {
        {"sys.localVad.begin", "{}"},
        {"sys.asr.result", "{}"},
        {"sys.rt.output", "{}"},
        {"sys.dms.output", R"({"dm":{"dataFrom":"native","shouldEndSession":true}})"},
        {"api.localAgent.speak", R"({"operation":"start","privilege":"true"})"},
        {"api.localAgent.dialogCtrl", kStop},
    };
    for (const auto &[topic, data] : events) {
        awaitReply();
        node->publish(topic, data);
        EXPECT_EQ(node->log("kill timerId").size(), 1U) << topic;
        EXPECT_EQ(node->traceOf("1005"), Trace{}) << topic; // a native reply is not the host's
        node->advance(600000);
        EXPECT_EQ(node->traceOf("1006"), Trace{}) << topic;
    }
}

TEST_F(Waits, TheEndOfRecognitionEndsTheDialogWithAConfiguredService)
{
    awaitReply(R"({"asrRes":"r","dmTimeOut":600000})");
    node->publishNull("sys.asr.end");
    EXPECT_EQ(node->trace(), status("silence"));
    startDialog();
    node->publishNull("sys.asr.end"); // no wait to end
    EXPECT_EQ(lastStatus(), "listening");
    awaitReply();
    node->publishNull("sys.asr.end");
    EXPECT_EQ(node->trace(), Trace{});
}

TEST_F(Waits, ASkillThatTheHostDoesNotAnswerTimesOut)
{
    awaitReply();
    node->publish("sys.localDms.nativeApi", "{}");
    EXPECT_EQ(node->log(),
              (Names{"[D]  ZQ-localProcessor kill timerId 1",
                     "[D]  ZQ-localProcessor set skill timerId 2",
                     "[I]  ZQ-localProcessor dmNativeApi vantelHandle stamp, data: {}",
                     "[V]  ZQ-localProcessor dmNativeApi vantelHandle, customdata: NULL",
                     R"([W]  ZQ-localProcessor {"errId":-7795,"errMsg":)"
                     R"("native api need feed back to server"})"}));
    node->advance(10000);
    EXPECT_EQ(node->traceOf("1006"),
              Trace{R"(1006 {"errId":-7796,"errMsg":"skills response timeout"})"});
    EXPECT_EQ(lastStatus(), "silence");
}

TEST_F(Waits, ASkillsAnswerGoesToTheDialogServiceWhoseReplyEndsTheWait)
{
    awaitReply();
    node->answer(1014, "not even JSON");
    node->publish("sys.localDms.nativeApi", R"({"api":"clock"})");
    EXPECT_EQ(node->trace(),
              (Trace{R"(1014 {"api":"clock"})", "localProcessor.nativeResponse not even JSON"}));
    reply(kContinuing);
    node->advance(10000);
    EXPECT_EQ(node->traceOf("1006"), Trace{});
    begin(kHalfDuplex, Host::absent);
    node->publish("sys.localDms.nativeApi", "{}");
    EXPECT_EQ(node->log(), Names{"[D]  ZQ-localProcessor set skill timerId 1"});
}

TEST_F(Waits, ADialogThatStaysSilentIsReset)
{
    begin(kHalfDuplex);
    startDialog();
    stopDialog();
    node->advance(39000);
    startDialog();
    node->advance(40000);
    EXPECT_EQ(node->trace(), Trace{});
    stopDialog();
    node->advance(40000);
    EXPECT_EQ(node->trace(), kDmsReset + Trace{"/localVad/stop (null)"});
}

TEST_F(Waits, ADialogThatIsNotUsedAgainEndsInSilence)
{
    const Trace given_up = kDmsReset + Trace{"/localVad/stop (null)"};
    playAndGoOn();
    node->advance(30000);
    EXPECT_EQ(node->trace(), given_up + status("silence"));
    EXPECT_EQ(node->log("[V]  ZQ-localProcessor finish keepAlive timerId ").size(), 1U);
    // It may be stopped and kept alive,
    playAndGoOn();
    node->publish("api.localAgent.dialogCtrl", R"({"operation":"stop","keepAlive":"temporary"})");
    node->advance(30000);
    EXPECT_EQ(node->trace(), given_up);
    // or stopped for good.
    playAndGoOn();
    stopDialog();
    node->advance(30000);
    EXPECT_EQ(node->trace(), Trace{});
}

} // namespace
