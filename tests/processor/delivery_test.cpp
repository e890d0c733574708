// What reaches the host as it came, what is passed on, and the node's call paths.
#include "tests/processor/dialog_texts.h"

namespace
{

class Delivery : public Dialog
{
protected:
    Delivery() { begin("{}"); }
};

const std::pair<const char *, int> kDelivered[] = {
    {"sys.doa.result", VANTEL_EVENT_DOA},
    {"sys.snr.result", VANTEL_EVENT_SNR},
    {"sys.vprRuntime.result", VANTEL_EVENT_VPR_RUNTIME},
    {"sys.localDms.commandApi", VANTEL_EVENT_COMMAND},
    {"sys.localDms.vocabs", VANTEL_EVENT_VOCABS},
    {"sys.localDms.cttsConfig", VANTEL_EVENT_SPEAK},
    {"sys.localDms.media", VANTEL_EVENT_MEDIA},
    {"sys.localDms.cinfoV2Result", VANTEL_EVENT_CINFO},
    {"sys.sentence.result", VANTEL_EVENT_SENTENCE},
    {"sys.localWakeup.evaluateResult", VANTEL_EVENT_EVALUATION},
    {"sys.localFace.result", VANTEL_EVENT_FACE},
    {"sys.vprResgister.result", VANTEL_EVENT_VPR_REGISTER},
    {"sys.vprVerify.result", VANTEL_EVENT_VPR_VERIFY},
    {"sys.vprUnresgister.result", VANTEL_EVENT_VPR_UNREGISTER},
    {"sys.vprAsr.result", VANTEL_EVENT_VPR_ASR},
    {"sys.localRecorder.ctrl", VANTEL_EVENT_RECORDER},
    {"sys.localPlayer.ctrl", VANTEL_EVENT_PLAYER},
    {"sys.localDms.speakUrl", VANTEL_EVENT_SPEAK},
};

TEST_F(Delivery, ResultsReachTheHostAsTheyCame)
{
    for (const auto &[topic, event] : kDelivered) {
        SCOPED_TRACE(topic);
        const std::string code = std::to_string(event) + " ";
        answer(event, "thanks");
        EXPECT_EQ(publish(topic, "as it came"), Lines{code + "as it came"});
        EXPECT_EQ(log().size(), 2U);
        EXPECT_EQ(publish(topic, std::nullopt), Lines{code + "(null)"});
    }
    begin("{}", Host::absent);
    for (const auto &[topic, event] : kDelivered)
        send(topic, "lost");
    EXPECT_EQ(log(), Lines{});
}

TEST_F(Delivery, LinesShowDataAndAnswerWhereTheyHaveAPlaceForThem)
{
    const std::pair<const char *, Lines> cases[] = {
        {"sys.localDms.vocabs",
         {"[I]vocabs vantelHandle stamp, data: data",
          "[V]vocabs vantelHandle, customdata: thanks"}},
        {"sys.localDms.media",
         {"[I]media list vantelHandle stamp,", "[V]media list vantelHandle end"}},
        {"sys.localPlayer.begin", // always the same text, too
         {R"([I] player vantelHandle stamp, data: {"status":"begin"})",
          "[V]player vantelHandle, customdata: NULL"}},
    };
    answer(VANTEL_EVENT_VOCABS, "thanks");
    for (const auto &[topic, lines] : cases) {
        publish(topic, "data");
        EXPECT_EQ(log(), lines);
    }
    EXPECT_EQ(trace(), Lines{R"(1016 {"status":"begin"})"});
}

TEST_F(Delivery, OnlyASuccessfulLoginIsReported)
{
    send("sys.localDms.authResult", R"({"result":"success"})");
    send("sys.localDms.authResult", R"({"result":"failed","authType":"oauth"})");
    send("sys.localDms.authResult", R"({"result":"success","authType":"oauth"})");
    EXPECT_EQ(trace(), Lines{R"(1031 {"result":"success","authType":"oauth"})"});
}

TEST_F(Delivery, ANetworkThatGoesDownWhileSilentResetsTheDialogOnce)
{
    const std::string up = R"({"status":"true"})";
    const std::string down = R"({"status":"false"})";
    for (const std::string &report : {up, down, down, up})
        send("sys.net.status", report);
    const std::string passedOn = "localProcessor.netStatus ";
    EXPECT_EQ(trace(), (Lines{"1028 " + up, passedOn + up, "1028 " + down}) + kDmsReset +
                           (Lines{passedOn + down, "1028 " + down, passedOn + down, "1028 " + up,
                                  passedOn + up}));
    startDialog();
    answer(VANTEL_EVENT_NETWORK, "the host's");
    EXPECT_EQ(publish("sys.net.status", up), (Lines{"1028 " + up, passedOn + "the host's"}));
    EXPECT_EQ(logged("[D]net handle, data: " + up), 1U);
}

TEST_F(Delivery, OtherTopicsArePassedOnOrIgnored)
{
    const std::string pcm("a\0b", 3);
    EXPECT_EQ(publish("sys.localProcessor.pcm", pcm), Lines{"localDms.pcm " + pcm});
    forget();
    for (const char *topic :
         {"sys.snr.resul", "sys.snr.result2", "SYS.snr.result", "sys.morvane.doa"})
        send(topic, "{}");
    EXPECT_EQ(trace(), Lines{});
}

TEST_F(Delivery, CallsForTheDeviceAreForwarded)
{
    const auto ask = [&](const std::string &verb) {
        forget();
        return call("/localProcessor/" + verb, "data");
    };
    EXPECT_EQ(ask("qxreset"), R"({"data":"localProcessor url not implement"})");
    EXPECT_EQ(ask("QXFindDevice"), "(null)");
    EXPECT_EQ(trace(), Lines{});
    for (const std::string verb : {"QXDownload", "QXDFU", "QXReset", "QXDownloadToDFU"}) {
        EXPECT_EQ(ask(verb), "(null)"); // there is no device
        spy::record()->replies["/localWakeup/" + verb] = "done";
        EXPECT_EQ(ask(verb), "done");
        EXPECT_EQ(trace(), kDmsReset + kVadStop + Lines{"/localWakeup/" + verb + " data"});
    }
    spy::record()->replies["/localWakeup/QXOperateInfo"] = "";
    EXPECT_EQ(ask("QXOperateInfo"), "(null)");
    EXPECT_EQ(trace(), Lines{"/localWakeup/QXOperateInfo data"});
}

TEST_F(Delivery, NothingIsHandledBehindTheExit)
{
    send("sys.localAgent.exit", "");
    send("sys.snr.result", "{}");
    EXPECT_EQ(trace(), Lines{});
    EXPECT_EQ(log(), Lines{"[I]sys exit"});
}

} // namespace
