#include "include/vantel/vantel.h"
#include "src/node/instance.h"
#include "tests/support/bench.h"

namespace
{

struct Operation {
    std::string name;
    int32_t (*call)(void *);
    std::string entry; // with its level
};

// clang-format off
#define ENTERS_AS(entry, name, ...)                                                                \
    Operation{#name, [](void *handle) { return name(handle __VA_OPT__(,) __VA_ARGS__); }, entry}
// clang-format on
#define ENTERS(name, ...) ENTERS_AS("[I]  vantel " #name, name __VA_OPT__(, ) __VA_ARGS__)

const Operation kOperations[] = {
    ENTERS_AS("[I]  vantel   vantelSetWakeupWords", vantelSetWakeupWords, nullptr),
    ENTERS_AS("[I]  vantel  vantelEnableWakeup", vantelEnableWakeup),
    ENTERS_AS("[I]  vantel vantelEvaluateWakeupWords", vantelEvaluateKeyWords, nullptr),
    ENTERS_AS("[I]  vantel  vantelDisableWakeup", vantelDisableWakeup),
    ENTERS_AS("[I]  vantel  vantelStartExtendsp", vantelStartExtendsp),
    ENTERS_AS("[I]  vantel  vantelStopExtendsp", vantelStopExtendsp),
    ENTERS_AS("[I]  vantel vantelStopDialogParams: NULL", vantelStopDialogParams, nullptr),
    ENTERS_AS("[D]  vantel vantelFeedData", vantelFeedData, nullptr, 0),
    ENTERS_AS("[D]  vantel vantelFeedCustomTTSDataBegin", vantelFeedCustomTTSDataBegin, nullptr),
    ENTERS_AS("[D]  vantel vantelFeedCustomTTSData", vantelFeedCustomTTSData, nullptr, 0),
    ENTERS_AS("[D]  vantel vantelFeedCustomTTSDataEnd", vantelFeedCustomTTSDataEnd, nullptr),
    ENTERS_AS("[I]  vantel QXOperateInfo", vantelQXOperateInfo, nullptr),
    ENTERS_AS("[D]  vantel vantelFeedImage", vantelFeedImage, nullptr, 0, 1, 2, 3),
    ENTERS(vantelStartListening),
    ENTERS(vantelStopListening),
    ENTERS(vantelStartDialog),
    ENTERS(vantelStopDialog),
    ENTERS(vantelInputText, nullptr),
    ENTERS(vantelTriggerIntent, nullptr),
    ENTERS(vantelSetContextSync, nullptr),
    ENTERS(vantelSpeak, nullptr),
    ENTERS(vantelSetCustomAudio, nullptr),
    ENTERS(vantelSetParams, nullptr),
    ENTERS(vantelOperateVocabs, nullptr),
    ENTERS(vantelSystemSettings, nullptr),
    ENTERS(vantelSkillSettings, nullptr),
    ENTERS(vantelNotifyTTSEnd, nullptr),
    ENTERS(vantelOperateOauth, nullptr),
    ENTERS(vantelQXFindDevice, nullptr),
    ENTERS(vantelQXDownload, nullptr),
    ENTERS(vantelQXDFU, nullptr),
    ENTERS(vantelQXDownloadToDFU, nullptr),
    ENTERS(vantelQXReset, nullptr),
    ENTERS(vantelQXSetCustomNlg, nullptr),
    ENTERS(vantelStartFace, nullptr),
    ENTERS(vantelStopFace, nullptr),
    ENTERS(vantelCloudVprRegister, nullptr),
    ENTERS(vantelCloudVprUnregister, nullptr),
    ENTERS(vantelCloudVprVerify, nullptr)};
static_assert(std::size(kOperations) == 39);

using Operations = Bench;

TEST_F(Operations, LogTheirEntryAndRefuseAHandleWithoutAnAgent)
{
    initialise();
    vantel::Instance noTable;
    vantel::NodeTable noAgents;
    vantel::Instance noAgent{.nodes = &noAgents};
    for (const auto &[name, operation, entry] : kOperations) {
        const std::string refusal =
            "[E]  vantel   " + name + " err by vantel nodes or agent is nil";
        for (void *instance : {static_cast<void *>(nullptr), static_cast<void *>(&noTable),
                               static_cast<void *>(&noAgent)}) {
            forget();
            EXPECT_EQ(operation(instance), -1) << name;
            EXPECT_EQ(log(), (Lines{entry, refusal}));
        }
    }
}

} // namespace
