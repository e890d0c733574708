// What reaches the host as it came, what is passed on, and the node's call paths.
#include "tests/processor/dialog_texts.h"

using Names = std::vector<std::string>;

namespace
{

class Delivery : public Dialog
{
protected:
    Delivery() { begin("{}"); }
};

const std::pair<const char *, int> kDelivered[] = {
    {"sys.doa.result", 1008},        {"sys.snr.result", 1007},
    {"sys.vprRuntime.result", 1010}, {"sys.localDms.commandApi", 1013},
    {"sys.localDms.vocabs", 1017},   {"sys.localDms.cttsConfig", 1015},
    {"sys.localDms.media", 1029},    {"sys.localDms.cinfoV2Result", 1018},
    {"sys.sentence.result", 1033},   {"sys.localWakeup.evaluateResult", 1034},
    {"sys.localFace.result", 1035},  {"sys.vprResgister.result", 1038},
    {"sys.vprVerify.result", 1040},  {"sys.vprUnresgister.result", 1039},
    {"sys.vprAsr.result", 1041},     {"sys.localRecorder.ctrl", 1011},
    {"sys.localPlayer.ctrl", 1016},  {"sys.localDms.speakUrl", 1015},
};

TEST_F(Delivery, ResultsReachTheHostAsTheyCame)
{
    for (const auto &[topic, event] : kDelivered) {
        const std::string code = std::to_string(event) + " ";
        node->answer(event, "thanks");
        node->publish(topic, "as it came");
        EXPECT_EQ(node->traceOf(code), Trace{code + "as it came"}) << topic;
        EXPECT_EQ(node->log().size(), 2U);
        node->publishNull(topic);
        EXPECT_EQ(node->traceOf(code), Trace{code + "(null)"}) << topic;
    }
    begin("{}", Host::absent);
    for (const auto &[topic, event] : kDelivered)
        node->publish(topic, "lost");
    EXPECT_EQ(node->log(), Names{});
}

TEST_F(Delivery, LinesShowDataAndAnswerWhereTheyHaveAPlaceForThem)
{
    const auto lines = [&](const char *topic) {
        node->publish(topic, "data");
        return node->log();
    };
    node->answer(1017, "thanks");
    EXPECT_EQ(lines("sys.localDms.vocabs"),
              (Names{"[I]  ZQ-localProcessor vocabs vantelHandle stamp, data: data",
                     "[V]  ZQ-localProcessor vocabs vantelHandle, customdata: thanks"}));
    EXPECT_EQ(lines("sys.localDms.media"),
              (Names{"[I]  ZQ-localProcessor media list vantelHandle stamp,",
                     "[V]  ZQ-localProcessor media list vantelHandle end"}));
    EXPECT_EQ(lines("sys.localPlayer.begin"), // always the same text, too
              (Names{"[I]  ZQ-localProcessor  player vantelHandle stamp, data: "
                     R"({"status":"begin"})",
                     "[V]  ZQ-localProcessor player vantelHandle, customdata: NULL"}));
    EXPECT_EQ(node->trace(), Trace{R"(1016 {"status":"begin"})"});
}

TEST_F(Delivery, OnlyASuccessfulLoginIsReported)
{
    node->publish("sys.localDms.authResult", R"({"result":"success"})");
    node->publish("sys.localDms.authResult", R"({"result":"failed","authType":"oauth"})");
    EXPECT_EQ(node->trace(), Trace{});
    node->publish("sys.localDms.authResult", R"({"result":"success","authType":"oauth"})");
    EXPECT_EQ(node->trace(), Trace{R"(1031 {"result":"success","authType":"oauth"})"});
}

TEST_F(Delivery, ANetworkThatGoesDownWhileSilentResetsTheDialogOnce)
{
    const std::string up = R"({"status":"true"})";
    const std::string down = R"({"status":"false"})";
    for (const std::string &report : {up, down, down, up})
        node->send("sys.net.status", report);
    node->settle();
    const std::string passedOn = "localProcessor.netStatus ";
    EXPECT_EQ(node->trace(), (Trace{"1028 " + up, passedOn + up, "1028 " + down}) + kDmsReset +
                                 (Trace{passedOn + down, "1028 " + down, passedOn + down,
                                        "1028 " + up, passedOn + up}));
    startDialog();
    node->answer(1028, "the host's");
    node->publish("sys.net.status", up);
    EXPECT_EQ(node->trace(), (Trace{"1028 " + up, passedOn + "the host's"}));
    EXPECT_EQ(node->log("[D]  ZQ-localProcessor net handle, data: " + up).size(), 1U);
}

TEST_F(Delivery, OtherTopicsArePassedOnOrIgnored)
{
    const std::string pcm("a\0b", 3);
    node->publish("sys.localProcessor.pcm", pcm);
    EXPECT_EQ(node->trace(), Trace{"localDms.pcm " + pcm});
    for (const char *topic :
         {"sys.snr.resul", "sys.snr.result2", "SYS.snr.result", "", "sys.morvane.doa"}) {
        node->publish(topic, "{}");
        EXPECT_EQ(node->trace(), Trace{});
    }
}

TEST_F(Delivery, CallsForTheDeviceAreForwarded)
{
    EXPECT_EQ(node->call("/localProcessor/QXFindDevice"), "(null)");
    EXPECT_EQ(node->call("/localProcessor/qxreset"),
              R"({"data":"localProcessor url not implement"})");
    EXPECT_EQ(node->call("/localProcessor/QXOperateInfo"), "(null)"); // there is no device
    EXPECT_EQ(node->trace(), Trace{});
    for (const char *verb : {"QXDownload", "QXDFU", "QXReset", "QXDownloadToDFU"}) {
        const std::string target = std::string("/localWakeup/") + verb;
        node->serveDevice(target, "done");
        EXPECT_EQ(node->call(std::string("/localProcessor/") + verb), "done");
        EXPECT_EQ(node->trace(), kDmsReset + (Trace{"/localVad/stop (null)", target + " data"}));
    }
    node->serveDevice("/localWakeup/QXOperateInfo", "");
    EXPECT_EQ(node->call("/localProcessor/QXOperateInfo"), "(null)");
    EXPECT_EQ(node->trace(), Trace{"/localWakeup/QXOperateInfo data"});
}

TEST_F(Delivery, NothingIsHandledBehindTheExit)
{
    node->send("sys.localAgent.exit", "");
    node->send("sys.snr.result", "{}");
    node->settle();
    EXPECT_EQ(node->trace(), Trace{});
    EXPECT_EQ(node->log(), Names{"[I]  ZQ-localProcessor sys exit"});
}

} // namespace
