#include "tests/vantel/recorded_host.h"

#include "src/agent/agent_operations.h"

#include <functional>

namespace
{

using recording::Publication;

const std::string kStart = R"({"operation":"start"})";
const std::string kStop = R"({"operation":"stop"})";

// What one operation does under one configuration.
struct Row {
    const char *configuration;
    std::function<int32_t(void *)> operation;
    int32_t result;
    std::vector<std::string> lines; // of the agent; each with its level
    std::string topic;              // empty: nothing is published
    std::string data;
    bool isNull = false;
};

auto with(int32_t (*operation)(void *, const char *), const char *params)
{
    return [=](void *handle) { return operation(handle, params); };
}

template <size_t Size>
auto with(int32_t (*operation)(void *, const void *, int32_t), const char (&data)[Size],
          int32_t length)
{
    return [=, bytes = static_cast<const char *>(data)](void *handle) {
        return operation(handle, bytes, length);
    };
}

auto image(const char *data, int32_t length)
{
    return [=](void *handle) { return vantelFeedImage(handle, data, length, 1, 2, 0xfffefdfc); };
}

const char kExtendsp[] = R"({"extendsp":{"enable":"true"}})";
const char kFace[] = R"({"face":{"enable":"true"}})";
const char kCamera[] = R"({"Face":{"enable":"true"},"camera":{"mode":"external"}})";
const char kRecorder[] = R"({"recorder":{"mode":"external"}})";
const char kPlayer[] = R"({"player":{"mode":"external"}})";
const char kCntts[] = R"({"cntts":{"mode":"external"}})";
const char kWords[] = R"([{"wakeupWord":"w","pinyin":"p","thresh":"t","type":"y"}])";
const char kSpeech[] = R"({"operation":"start","nlg":"n","speed":1,"volume":1,"voiceId":"v"})";
const char kIntent[] = R"({"skill":"s","task":"t","intent":"i"})";
const char kVocabs[] = R"({"operation":"o","vocabName":"v"})";
const char kSettings[] = R"({"operation":"o","skillId":"","settings":[]})";
const std::string kFrame{"\0\0\0\1\0\0\0\2\xff\xfe\xfd\xfc\xff\0im", 16};

const std::vector<Row> kRows = {
    {"{}",
     vantelEnableWakeup,
     0,
     {"[I]  ZQ-localAgent onStartWakeup"},
     "api.localAgent.setting",
     kStart},
    {"{}",
     vantelDisableWakeup,
     0,
     {"[I]  ZQ-localAgent onStopWakeup"},
     "api.localAgent.setting",
     kStop},
    {"{}",
     vantelStartListening,
     0,
     {"[I]  ZQ-localAgent onStartListening"},
     "api.localAgent.asrCtrl",
     kStart},
    {"{}",
     vantelStopListening,
     0,
     {"[I]  ZQ-localAgent onStopListening"},
     "api.localAgent.asrCtrl",
     kStop},
    {"{}",
     vantelStartDialog,
     0,
     {"[I]  ZQ-localAgent onStartDialog"},
     "api.localAgent.dialogCtrl",
     kStart},

    {"{}",
     vantelStopDialog,
     0,
     {"[I]  ZQ-localAgent onStopDialog, params: NULL"},
     "api.localAgent.dialogCtrl",
     kStop},
    {"{}",
     with(vantelStopDialogParams, nullptr),
     0,
     {"[I]  ZQ-localAgent onStopDialog, params: NULL"},
     "api.localAgent.dialogCtrl",
     kStop},
    {"{}",
     with(vantelStopDialogParams, R"({ "keepAlive": "temporary" } x)"),
     0,
     {R"([I]  ZQ-localAgent onStopDialog, params: { "keepAlive": "temporary" } x)"},
     "api.localAgent.dialogCtrl",
     R"({"keepAlive":"temporary","operation":"stop"})"},
    {"{}",
     with(vantelStopDialogParams, "no"),
     -1,
     {"[I]  ZQ-localAgent onStopDialog, params: no",
      "[E]  ZQ-localAgent onStopDialog malloc failed"},
     "",
     ""},

    {kExtendsp,
     vantelStartExtendsp,
     0,
     {"[I]  ZQ-localAgent onStartExtendsp"},
     "api.localAgent.extendspCtrl",
     kStart},
    {kExtendsp,
     vantelStopExtendsp,
     0,
     {"[I]  ZQ-localAgent onStopExtendsp"},
     "api.localAgent.extendspCtrl",
     kStop},
    {R"({"extendsp":{"enable":true}})",
     vantelStartExtendsp,
     0,
     {"[W]  ZQ-localAgent disable onStartExtendsp"},
     "",
     ""},
    {R"({"extendsp":{"enable":"True"}})",
     vantelStopExtendsp,
     0,
     {"[W]  ZQ-localAgent disable onStopExtendsp"},
     "",
     ""},
    {kFace,
     with(vantelStartFace, nullptr),
     0,
     {"[I]  ZQ-localAgent onStartFace"},
     "api.localAgent.faceCtrl",
     kStart},
    {kFace,
     with(vantelStopFace, "no"),
     0,
     {"[I]  ZQ-localAgent onStopFace"},
     "api.localAgent.faceCtrl",
     kStop},
    {R"({"face":"true"})",
     with(vantelStartFace, nullptr),
     0,
     {"[W]  ZQ-localAgent disable onStartFace"},
     "",
     ""},
    {"{}", with(vantelStopFace, nullptr), 0, {"[W]  ZQ-localAgent disable onStopFace"}, "", ""},

    {"{}",
     with(vantelSetWakeupWords, kWords),
     0,
     {"[I]  ZQ-localAgent onSetWakeup params: " + std::string(kWords)},
     "api.localAgent.setWakeupWords",
     kWords},
    {"{}",
     with(vantelEvaluateKeyWords, R"({"keyWords":"k"})"),
     0,
     {R"([I]  ZQ-localAgent onEvaluateWakeupWords: {"keyWords":"k"})"},
     "",
     ""},
    {"{}",
     with(vantelInputText, R"({"text":"t"})"),
     0,
     {"[I]  ZQ-localAgent onInputText"},
     "api.localAgent.inputText",
     R"({"text":"t"})"},
    {"{}",
     with(vantelTriggerIntent, kIntent),
     0,
     {"[I]  ZQ-localAgent onTriggerIntent, " + std::string(kIntent)},
     "api.localAgent.triggerIntent",
     kIntent},
    {"{}",
     with(vantelSetContextSync, "not json"),
     0,
     {"[I]  ZQ-localAgent onSetContextSync, not json"},
     "api.localAgent.setContextSync",
     "not json"},
    {"{}", with(vantelSetContextSync, nullptr), 0, {}, "", ""},
    {"{}",
     with(vantelSpeak, kSpeech),
     0,
     {"[I]  ZQ-localAgent onSpeak, " + std::string(kSpeech)},
     "api.localAgent.speak",
     kSpeech},
    {"{}",
     with(vantelSetCustomAudio, "[]"),
     0,
     {"[I]  ZQ-localAgent onSetCustomAudio params: []"},
     "api.localAgent.setCustomAudio",
     "[]"},
    {"{}",
     with(vantelSetParams, "{}"),
     0,
     {"[I]  ZQ-localAgent onSetParams: {}"},
     "api.localAgent.setParams",
     "{}"},
    {"{}",
     with(vantelOperateVocabs, kVocabs),
     0,
     {"[I]  ZQ-localAgent onOperateVocabs: " + std::string(kVocabs)},
     "api.localAgent.operaeVocabs",
     kVocabs},
    {"{}",
     with(vantelSystemSettings, kSettings),
     0,
     {"[I]  ZQ-localAgent agentSystemSettings: " + std::string(kSettings)},
     "api.localAgent.systemSettings",
     kSettings},
    {"{}",
     with(vantelSkillSettings, kSettings),
     0,
     {"[I]  ZQ-localAgent agentSkillSettings: " + std::string(kSettings)},
     "api.localAgent.skillSettings",
     kSettings},
    {"{}",
     with(vantelOperateOauth, "x"),
     0,
     {"[I]  ZQ-localAgent onOperateOauth: x"},
     "api.localAgent.operateOauth",
     "x"},
    {"{}",
     with(vantelOperateOauth, nullptr),
     0,
     {"[I]  ZQ-localAgent onOperateOauth: NULL"},
     "",
     ""},
    {"{}",
     with(vantelCloudVprRegister, "x"),
     0,
     {"[I]  ZQ-localAgent onCloudVprRegister, params: x"},
     "api.localAgent.VprRegister",
     "x"},
    {"{}",
     with(vantelCloudVprUnregister, nullptr),
     0,
     {"[I]  ZQ-localAgent onCloudVprUnregister, params: NULL"},
     "api.localAgent.VprUnregister",
     "",
     true},
    {"{}",
     with(vantelCloudVprVerify, "x"),
     0,
     {"[I]  ZQ-localAgent onCloudVprVerify, params: x"},
     "api.localAgent.VprVerify",
     "x"},

    {kRecorder,
     with(vantelFeedData, "\0pcm", 4),
     0,
     {"[V]  ZQ-localAgent onFeed"},
     "sys.localRecorder.pcm",
     std::string("\0pcm", 4)},
    {kRecorder,
     with(vantelFeedData, "", 0),
     0,
     {"[V]  ZQ-localAgent onFeed"},
     "sys.localRecorder.pcm",
     ""},
    {kRecorder,
     [](void *handle) { return vantelFeedData(handle, nullptr, 0); },
     0,
     {"[V]  ZQ-localAgent onFeed"},
     "sys.localRecorder.pcm",
     "",
     true},
    {kRecorder,
     [](void *handle) { return vantelFeedData(handle, nullptr, 1); },
     -1,
     {"[V]  ZQ-localAgent onFeed", "[E]  ZQ-localAgent onFeed failed, due to null data"},
     "",
     ""},
    {kRecorder,
     with(vantelFeedData, "", -1),
     -1,
     {"[V]  ZQ-localAgent onFeed", "[E]  ZQ-localAgent onFeed failed, due to len<0"},
     "",
     ""},
    {R"({"recorder":{"mode":"External"}})",
     with(vantelFeedData, "", -1),
     0,
     {"[E]  ZQ-localAgent onFeed failed, due to using internal recorder"},
     "",
     ""},

    {"{}",
     with(vantelFeedCustomTTSDataBegin, nullptr),
     0,
     {"[I]  ZQ-localAgent agentFeedCustomTTSDatdBegin"},
     "api.localAgent.customDataBegin",
     "",
     true},
    {"{}",
     with(vantelFeedCustomTTSDataBegin, "{}"),
     0,
     {"[I]  ZQ-localAgent agentFeedCustomTTSDatdBegin"},
     "api.localAgent.customDataBegin",
     "{}"},
    {"{}",
     with(vantelFeedCustomTTSData, "a\0b", 3),
     0,
     {"[D]  ZQ-localAgent agentFeedCustomTTSData len: 3"},
     "api.localTts.customData",
     std::string("a\0b", 3)},
    {"{}",
     with(vantelFeedCustomTTSData, "a", -1),
     -1,
     {"[D]  ZQ-localAgent agentFeedCustomTTSData len: -1",
      "[E]  ZQ-localAgent agentFeedCustomTTSData failed, due to len<0"},
     "",
     ""},
    {kPlayer,
     [](void *handle) { return vantelFeedCustomTTSData(handle, nullptr, -1); },
     0,
     {"[I]  ZQ-localAgent params is NULL"},
     "",
     ""},
    {"{}",
     with(vantelFeedCustomTTSDataEnd, "{}"),
     0,
     {"[I]  ZQ-localAgent agentFeedCustomTTSDataEnd"},
     "api.localAgent.customDataEnd",
     "{}"},
    {kPlayer, with(vantelFeedCustomTTSDataBegin, "{}"), 0, {}, "", ""},
    {kCntts, with(vantelFeedCustomTTSData, "a", 1), 0, {}, "", ""},
    {kCntts, with(vantelFeedCustomTTSDataEnd, "{}"), 0, {}, "", ""},
    {kPlayer,
     with(vantelNotifyTTSEnd, "x"),
     0,
     {"[I]  ZQ-localAgent agentNotifyTTSEnd"},
     "sys.localPlayer.wait",
     "",
     true},
    {kCntts,
     with(vantelNotifyTTSEnd, nullptr),
     0,
     {"[I]  ZQ-localAgent agentNotifyTTSEnd"},
     "sys.localPlayer.wait",
     "",
     true},
    {"{}",
     with(vantelNotifyTTSEnd, nullptr),
     0,
     {"[W]  ZQ-localAgent agentNotifyTTSEnd, not using external player or external tts"},
     "",
     ""},

    {kCamera,
     image("\xff\0im", 4),
     0,
     {"[D]  ZQ-localAgent onFeedImage"},
     "sys.localFace.image",
     kFrame},
    {kCamera,
     image("i", 0),
     0,
     {"[D]  ZQ-localAgent onFeedImage", "[W]  ZQ-localAgent imgLen is 0"},
     "",
     ""},
    {kCamera,
     image(nullptr, 4),
     0,
     {"[D]  ZQ-localAgent onFeedImage", "[W]  ZQ-localAgent imgLen is 0"},
     "",
     ""},
    {kFace,
     image("i", 1),
     0,
     {"[D]  ZQ-localAgent onFeedImage",
      "[W]  ZQ-localAgent disable faceEngine or using internal camera"},
     "",
     ""},
    {R"({"camera":{"mode":"external"}})",
     image("i", 1),
     0,
     {"[D]  ZQ-localAgent onFeedImage",
      "[W]  ZQ-localAgent disable faceEngine or using internal camera"},
     "",
     ""},

    {"{}", with(vantelQXFindDevice, "x"), -1, {"[I]  ZQ-localAgent onQXFindDevice: x"}, "", ""},
    {"{}", with(vantelQXDownload, nullptr), -1, {"[I]  ZQ-localAgent onQXDownload: NULL"}, "", ""},
    {"{}", with(vantelQXDFU, "x"), -1, {"[I]  ZQ-localAgent onQXDFU: x"}, "", ""},
    {"{}",
     with(vantelQXDownloadToDFU, "x"),
     -1,
     {"[I]  ZQ-localAgent agentQXDownloadToDFU: x"},
     "",
     ""},
    {"{}", with(vantelQXReset, "x"), -1, {"[I]  ZQ-localAgent onQXReset: x"}, "", ""},
    {"{}", with(vantelQXSetCustomNlg, "x"), -1, {"[I]  ZQ-localAgent onQXSetCustomNlg: x"}, "", ""},
    {"{}", with(vantelQXOperateInfo, "x"), -1, {"[I]  ZQ-localAgent onQXOperateInfo: x"}, "", ""},
};

class Agent : public RecordedHost
{
protected:
    // The messages published since `forget`, each "topic data".
    Lines published() const
    {
        Lines all;
        for (const Publication &publication : recording::published())
            all.push_back(publication.topic + " " + publication.data);
        return all;
    }
};

TEST_F(Agent, PassesEachRequestOnOrSaysWhyNot)
{
    std::string configuration;
    for (const Row &row : kRows) {
        SCOPED_TRACE(testing::Message() << row.configuration << " " << row.topic << " "
                                        << (row.lines.empty() ? "" : row.lines.back()));
        if (row.configuration != configuration) start(row.configuration);
        configuration = row.configuration;
        forget();
        EXPECT_EQ(row.operation(handle), row.result);
        EXPECT_EQ(log("ZQ-localAgent"), row.lines);
        std::vector<Publication> expected;
        if (!row.topic.empty()) expected.push_back({"localAgent", row.topic, row.data, row.isNull});
        EXPECT_EQ(recording::published(), expected);
    }
}

TEST_F(Agent, SubscribesToItsTopicsInTheirOrder)
{
    start("{}");
    EXPECT_EQ(recording::topics("localAgent"),
              R"(["root.cancel.sticky","sys.localSocket.qxFindDevice",)"
              R"("sys.localSocket.qxDownload","sys.localSocket.qxreset","sys.localSocket.qxdfu",)"
              R"("sys.localSocket.qxOperateInfo"])");
}

TEST_F(Agent, FailsTheRequestsOfTheCompanionDevice)
{
    start("{}");
    const std::string failed = R"({"result":"failed"})";
    for (const auto &[topic, name, result] :
         {std::tuple{"sys.localSocket.qxDownload", "onQXDownload", "sys.qxDownload.result "},
          std::tuple{"sys.localSocket.qxdfu", "onQXDFU", "sys.qxdfu.result "},
          std::tuple{"sys.localSocket.qxreset", "onQXReset", "sys.qxreset.result "}}) {
        forget();
        recording::send("localAgent", topic, "{}");
        recording::sendNull("localAgent", topic);
        std::string line = std::string("[I]  ZQ-localAgent ") + name + ": NULL";
        EXPECT_EQ(log(), (Lines{line, line}));
        EXPECT_EQ(published(), (Lines{result + failed, result + failed}));
    }

    forget();
    recording::send("localAgent", "sys.localSocket.qxFindDevice", R"({ "a": 1 })");
    recording::send("localAgent", "sys.localSocket.qxFindDevice", "no");
    recording::sendNull("localAgent", "sys.localSocket.qxFindDevice");
    EXPECT_EQ(log(), (Lines{R"([I]  ZQ-localAgent onQXFindDevice: { "a": 1 })",
                            "[I]  ZQ-localAgent onQXFindDevice: no",
                            "[E]  ZQ-localAgent findDevice not params"}));
    EXPECT_EQ(published(), (Lines{R"(sys.qxFindDevice.result {"result":"failed","input":{"a":1}})",
                                  "sys.qxFindDevice.result " + failed}));

    forget();
    recording::send("localAgent", "sys.localSocket.qxOperateInfo", "x");
    recording::sendNull("localAgent", "sys.localSocket.qxOperateInfo");
    recording::send("localAgent", "root.cancel.sticky", "x");
    recording::send("localAgent", "sys.localSocket.QXDFU", "x");
    EXPECT_EQ(log(), (Lines{"[I]  ZQ-localAgent onQXOperateInfo: x",
                            "[E]  ZQ-localAgent qxoperateInfo not params"}));
    EXPECT_EQ(published(), Lines{});
}

TEST_F(Agent, AnswersItsTwoPathsWithNothingAndOthersWithANotice)
{
    start("{}");
    EXPECT_EQ(recording::call("localAgent", "/localAgent/start"), "(null)");
    EXPECT_EQ(recording::call("localAgent", "/localAgent/stop"), "(null)");
    EXPECT_EQ(log(), Lines{});
    EXPECT_EQ(recording::call("localAgent", "/localAgent/other"),
              R"({"data":"localAgent url not implement"})");
    EXPECT_EQ(log(), Lines{"[D]  ZQ-localAgent not implement, url: /localAgent/other"});
}

TEST_F(Agent, CustomAudioWithoutAnAgentIsIgnored)
{
    start("{}");
    EXPECT_EQ(vantel::agentFeedCustomTTSDataBegin(nullptr, "{}"), 0);
    EXPECT_EQ(vantel::agentFeedCustomTTSData(nullptr, "a", 1), 0);
    EXPECT_EQ(vantel::agentFeedCustomTTSDataEnd(nullptr, "{}"), 0);
    EXPECT_EQ(vantel::agentNotifyTTSEnd(nullptr, nullptr), 0);
    EXPECT_EQ(log(), Lines(4, "[I]  ZQ-localAgent params is NULL"));
}

} // namespace
