#include "include/vantel/vantel.h"
#include "src/agent/agent_operations.h"
#include "tests/support/bench.h"

namespace
{

const std::string kStart = R"({"operation":"start"})";
const std::string kStop = R"({"operation":"stop"})";

// What one operation does under one configuration.
struct Row {
    const char *configuration;
    std::function<int32_t(void *)> operation;
    int32_t result;
    std::string lines;      // of the agent: each a level letter, a blank and the message
    std::string topic = {}; // without "sys."; empty: nothing is published
    std::string data = {};  // "(null)" for none
};

auto with(int32_t (*operation)(void *, const char *), const char *params)
{
    return [=](void *handle) { return operation(handle, params); };
}

auto with(int32_t (*operation)(void *, const void *, int32_t), const char *data, int32_t length)
{
    return [=](void *handle) { return operation(handle, data, length); };
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
const std::string kWords = R"([{"wakeupWord":"w","pinyin":"p","thresh":"t","type":"y"}])";
const std::string kSpeech = R"({"operation":"start","nlg":"n","speed":1,"volume":1,"voiceId":"v"})";
const std::string kIntent = R"({"skill":"s","task":"t","intent":"i"})";
const std::string kVocabs = R"({"operation":"o","vocabName":"v"})";
const std::string kSettings = R"({"operation":"o","skillId":"","settings":[]})";
const std::string kFrame{"\0\0\0\1\0\0\0\2\xff\xfe\xfd\xfc\xff\0im", 16};
const char kNoCamera[] = "D onFeedImage\nW disable faceEngine or using internal camera";

// One row a case, so that the table can be held against the documentation.
// clang-format off
const Row kRows[] = {
    {"{}", vantelEnableWakeup, 0, "I onStartWakeup", "api.localAgent.setting", kStart},
    {"{}", vantelDisableWakeup, 0, "I onStopWakeup", "api.localAgent.setting", kStop},
    {"{}", vantelStartListening, 0, "I onStartListening", "api.localAgent.asrCtrl", kStart},
    {"{}", vantelStopListening, 0, "I onStopListening", "api.localAgent.asrCtrl", kStop},
    {"{}", vantelStartDialog, 0, "I onStartDialog", "api.localAgent.dialogCtrl", kStart},

    {"{}", vantelStopDialog, 0, "I onStopDialog, params: NULL", "api.localAgent.dialogCtrl", kStop},
    {"{}", with(vantelStopDialogParams, nullptr), 0, "I onStopDialog, params: NULL", "api.localAgent.dialogCtrl", kStop},
    {"{}", with(vantelStopDialogParams, R"({ "a": 1 } x)"), 0, R"(I onStopDialog, params: { "a": 1 } x)", "api.localAgent.dialogCtrl", R"({"a":1,"operation":"stop"})"},
    {"{}", with(vantelStopDialogParams, kStart.c_str()), 0, "I onStopDialog, params: " + kStart, "api.localAgent.dialogCtrl", kStop},
    {"{}", with(vantelStopDialogParams, R"({"Operation":1,"a":1,"operation":"x"})"), 0, R"(I onStopDialog, params: {"Operation":1,"a":1,"operation":"x"})", "api.localAgent.dialogCtrl", R"({"a":1,"operation":"stop"})"},
    {"{}", with(vantelStopDialogParams, "[1]"), 0, "I onStopDialog, params: [1]", "api.localAgent.dialogCtrl", kStop},
    {"{}", with(vantelStopDialogParams, "no"), -1, "I onStopDialog, params: no\nE onStopDialog malloc failed"},

    {kExtendsp, vantelStartExtendsp, 0, "I onStartExtendsp", "api.localAgent.extendspCtrl", kStart},
    {kExtendsp, vantelStopExtendsp, 0, "I onStopExtendsp", "api.localAgent.extendspCtrl", kStop},
    {R"({"extendsp":{"enable":true}})", vantelStartExtendsp, 0, "W disable onStartExtendsp"},
    {R"({"extendsp":{"enable":"True"}})", vantelStopExtendsp, 0, "W disable onStopExtendsp"},
    {kFace, with(vantelStartFace, nullptr), 0, "I onStartFace", "api.localAgent.faceCtrl", kStart},
    {kFace, with(vantelStopFace, "no"), 0, "I onStopFace", "api.localAgent.faceCtrl", kStop},
    {R"({"face":"true"})", with(vantelStartFace, nullptr), 0, "W disable onStartFace"},
    {"{}", with(vantelStopFace, nullptr), 0, "W disable onStopFace"},

    {"{}", with(vantelSetWakeupWords, kWords.c_str()), 0, "I onSetWakeup params: " + kWords, "api.localAgent.setWakeupWords", kWords},
    {"{}", with(vantelEvaluateKeyWords, R"({"keyWords":"k"})"), 0, R"(I onEvaluateWakeupWords: {"keyWords":"k"})"},
    {"{}", with(vantelInputText, R"({"text":"t"})"), 0, "I onInputText", "api.localAgent.inputText", R"({"text":"t"})"},
    {"{}", with(vantelTriggerIntent, kIntent.c_str()), 0, "I onTriggerIntent, " + kIntent, "api.localAgent.triggerIntent", kIntent},
    {"{}", with(vantelSetContextSync, "not json"), 0, "I onSetContextSync, not json", "api.localAgent.setContextSync", "not json"},
    {"{}", with(vantelSetContextSync, nullptr), 0, ""},
    {"{}", with(vantelSpeak, kSpeech.c_str()), 0, "I onSpeak, " + kSpeech, "api.localAgent.speak", kSpeech},
    {"{}", with(vantelSetCustomAudio, "[]"), 0, "I onSetCustomAudio params: []", "api.localAgent.setCustomAudio", "[]"},
    {"{}", with(vantelSetParams, "{}"), 0, "I onSetParams: {}", "api.localAgent.setParams", "{}"},
    {"{}", with(vantelOperateVocabs, kVocabs.c_str()), 0, "I onOperateVocabs: " + kVocabs, "api.localAgent.operaeVocabs", kVocabs},
    {"{}", with(vantelSystemSettings, kSettings.c_str()), 0, "I agentSystemSettings: " + kSettings, "api.localAgent.systemSettings", kSettings},
    {"{}", with(vantelSkillSettings, kSettings.c_str()), 0, "I agentSkillSettings: " + kSettings, "api.localAgent.skillSettings", kSettings},
    {"{}", with(vantelOperateOauth, "x"), 0, "I onOperateOauth: x", "api.localAgent.operateOauth", "x"},
    {"{}", with(vantelOperateOauth, nullptr), 0, "I onOperateOauth: NULL"},
    {"{}", with(vantelCloudVprRegister, "x"), 0, "I onCloudVprRegister, params: x", "api.localAgent.VprRegister", "x"},
    {"{}", with(vantelCloudVprUnregister, nullptr), 0, "I onCloudVprUnregister, params: NULL", "api.localAgent.VprUnregister", "(null)"},
    {"{}", with(vantelCloudVprVerify, "x"), 0, "I onCloudVprVerify, params: x", "api.localAgent.VprVerify", "x"},

    {kRecorder, with(vantelFeedData, "\0pcm", 4), 0, "V onFeed", "localRecorder.pcm", std::string("\0pcm", 4)},
    {kRecorder, with(vantelFeedData, "", 0), 0, "V onFeed", "localRecorder.pcm", ""},
    {kRecorder, with(vantelFeedData, nullptr, 0), 0, "V onFeed", "localRecorder.pcm", "(null)"},
    {kRecorder, with(vantelFeedData, nullptr, 1), -1, "V onFeed\nE onFeed failed, due to null data"},
    {kRecorder, with(vantelFeedData, "", -1), -1, "V onFeed\nE onFeed failed, due to len<0"},
    {R"({"recorder":{"mode":"External"}})", with(vantelFeedData, "", -1), 0, "E onFeed failed, due to using internal recorder"},

    {"{}", with(vantelFeedCustomTTSDataBegin, nullptr), 0, "I agentFeedCustomTTSDatdBegin", "api.localAgent.customDataBegin", "(null)"},
    {"{}", with(vantelFeedCustomTTSData, "a\0b", 3), 0, "D agentFeedCustomTTSData len: 3", "api.localTts.customData", std::string("a\0b", 3)},
    {"{}", with(vantelFeedCustomTTSData, "a", -1), -1, "D agentFeedCustomTTSData len: -1\nE agentFeedCustomTTSData failed, due to len<0"},
    {"{}", with(vantelFeedCustomTTSDataEnd, "{}"), 0, "I agentFeedCustomTTSDataEnd", "api.localAgent.customDataEnd", "{}"},
    {"{}", with(vantelNotifyTTSEnd, nullptr), 0, "W agentNotifyTTSEnd, not using external player or external tts"},
    {kPlayer, with(vantelFeedCustomTTSData, nullptr, -1), 0, "I params is NULL"},
    {kPlayer, with(vantelFeedCustomTTSDataBegin, "{}"), 0, ""},
    {kPlayer, with(vantelNotifyTTSEnd, "x"), 0, "I agentNotifyTTSEnd", "localPlayer.wait", "(null)"},
    {kCntts, with(vantelFeedCustomTTSData, "a", 1), 0, ""},
    {kCntts, with(vantelFeedCustomTTSDataEnd, "{}"), 0, ""},
    {kCntts, with(vantelNotifyTTSEnd, nullptr), 0, "I agentNotifyTTSEnd", "localPlayer.wait", "(null)"},

    {kCamera, image("\xff\0im", 4), 0, "D onFeedImage", "localFace.image", kFrame},
    {kCamera, image("i", 0), 0, "D onFeedImage\nW imgLen is 0"},
    {kCamera, image(nullptr, 4), 0, "D onFeedImage\nW imgLen is 0"},
    {kFace, image("i", 1), 0, kNoCamera},
    {R"({"camera":{"mode":"external"}})", image("i", 1), 0, kNoCamera},

    {"{}", with(vantelQXFindDevice, "x"), -1, "I onQXFindDevice: x"},
    {"{}", with(vantelQXDownload, nullptr), -1, "I onQXDownload: NULL"},
    {"{}", with(vantelQXDFU, "x"), -1, "I onQXDFU: x"},
    {"{}", with(vantelQXDownloadToDFU, "x"), -1, "I agentQXDownloadToDFU: x"},
    {"{}", with(vantelQXReset, "x"), -1, "I onQXReset: x"},
    {"{}", with(vantelQXSetCustomNlg, "x"), -1, "I onQXSetCustomNlg: x"},
    {"{}", with(vantelQXOperateInfo, "x"), -1, "I onQXOperateInfo: x"},
};
// clang-format on

class Agent : public Bench
{
protected:
    Agent() { initialise(); }

    // The agent's lines since `forget`, as the rows have them.
    std::string lines()
    {
        const std::string tag = "]  ZQ-localAgent ";
        std::string text;
        for (const std::string &line : log(tag)) {
            text +=
                (text.empty() ? "" : "\n") + line.substr(1, 1) + " " + line.substr(2 + tag.size());
        }
        return text;
    }
};

TEST_F(Agent, PassesEachRequestOnOrSaysWhyNot)
{
    std::string configuration;
    for (const Row &row : kRows) {
        SCOPED_TRACE(std::string(row.configuration) + " " + row.topic + " " + row.lines);
        if (row.configuration != configuration) beginNode(Node::agent, row.configuration);
        configuration = row.configuration;
        forget();
        EXPECT_EQ(row.operation(handle), row.result);
        EXPECT_EQ(lines(), row.lines);
        EXPECT_EQ(trace(), row.topic.empty() ? Lines{} : Lines{row.topic + " " + row.data});
    }
}

TEST_F(Agent, FailsTheRequestsOfTheCompanionDevice)
{
    const std::string found = R"({"result":"failed","input":{"a":1}})";
    const std::string failed = R"({"result":"failed"})";
    const std::optional<std::string> none;
    const struct {
        std::string topic; // below "sys.localSocket."
        std::optional<std::string> data;
        const char *line;
        Lines published;
    } cases[] = {
        {"qxDownload", "{}", "I onQXDownload: NULL", {"qxDownload.result " + failed}},
        {"qxdfu", none, "I onQXDFU: NULL", {"qxdfu.result " + failed}},
        {"qxreset", "{}", "I onQXReset: NULL", {"qxreset.result " + failed}},
        {"qxFindDevice",
         R"({"a": 1})",
         R"(I onQXFindDevice: {"a": 1})",
         {"qxFindDevice.result " + found}},
        {"qxFindDevice", "no", "I onQXFindDevice: no", {"qxFindDevice.result " + failed}},
        {"qxFindDevice", none, "E findDevice not params", {}},
        {"qxOperateInfo", "x", "I onQXOperateInfo: x", {}},
        {"qxOperateInfo", none, "E qxoperateInfo not params", {}},
        {"QXDFU", "x", "", {}},
    };
    beginNode(Node::agent, "{}");
    for (const auto &[topic, data, line, published] : cases) {
        EXPECT_EQ(publish("sys.localSocket." + topic, data), published) << topic;
        EXPECT_EQ(lines(), line);
    }
}

TEST_F(Agent, AnswersItsTwoPathsWithNothingAndOthersWithANotice)
{
    beginNode(Node::agent, "{}");
    forget();
    EXPECT_EQ(call("/localAgent/start"), "(null)");
    EXPECT_EQ(call("/localAgent/stop"), "(null)");
    EXPECT_EQ(log(), Lines{});
    EXPECT_EQ(call("/localAgent/other"), R"({"data":"localAgent url not implement"})");
    EXPECT_EQ(lines(), "D not implement, url: /localAgent/other");
}

TEST_F(Agent, CustomAudioWithoutAnAgentIsIgnored)
{
    EXPECT_EQ(vantel::agentFeedCustomTTSDataBegin(nullptr, "{}"), 0);
    EXPECT_EQ(vantel::agentFeedCustomTTSData(nullptr, "a", 1), 0);
    EXPECT_EQ(vantel::agentFeedCustomTTSDataEnd(nullptr, "{}"), 0);
    EXPECT_EQ(vantel::agentNotifyTTSEnd(nullptr, nullptr), 0);
    EXPECT_EQ(log(), Lines(4, "[I]  ZQ-localAgent params is NULL"));
}

} // namespace
