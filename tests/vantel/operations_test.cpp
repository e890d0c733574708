#include "include/vantel/vantel.h"
#include "src/vantel/instance.h"
#include "tests/support/bench.h"

namespace
{

struct Row {
    const char *name;
    int32_t (*operation)(void *);
    const char *entry; // with its level
};

// clang-format off
#define ROW(entry, name, ...)                                                                      \
    {#name, [](void *handle) { return name(handle __VA_OPT__(,) __VA_ARGS__); }, entry}
// clang-format on

const Row kRows[] = {
    ROW("[I]  vantel   vantelSetWakeupWords", vantelSetWakeupWords, nullptr),
    ROW("[I]  vantel  vantelEnableWakeup", vantelEnableWakeup),
    ROW("[I]  vantel vantelEvaluateWakeupWords", vantelEvaluateKeyWords, nullptr),
    ROW("[I]  vantel  vantelDisableWakeup", vantelDisableWakeup),
    ROW("[I]  vantel  vantelStartExtendsp", vantelStartExtendsp),
    ROW("[I]  vantel  vantelStopExtendsp", vantelStopExtendsp),
    ROW("[I]  vantel vantelStartListening", vantelStartListening),
    ROW("[I]  vantel vantelStopListening", vantelStopListening),
    ROW("[I]  vantel vantelStartDialog", vantelStartDialog),
    ROW("[I]  vantel vantelStopDialog", vantelStopDialog),
    ROW("[I]  vantel vantelStopDialogParams: NULL", vantelStopDialogParams, nullptr),
    ROW("[D]  vantel vantelFeedData", vantelFeedData, nullptr, 0),
    ROW("[I]  vantel vantelInputText", vantelInputText, nullptr),
    ROW("[I]  vantel vantelTriggerIntent", vantelTriggerIntent, nullptr),
    ROW("[I]  vantel vantelSetContextSync", vantelSetContextSync, nullptr),
    ROW("[I]  vantel vantelSpeak", vantelSpeak, nullptr),
    ROW("[I]  vantel vantelSetCustomAudio", vantelSetCustomAudio, nullptr),
    ROW("[I]  vantel vantelSetParams", vantelSetParams, nullptr),
    ROW("[I]  vantel vantelOperateVocabs", vantelOperateVocabs, nullptr),
    ROW("[I]  vantel vantelSystemSettings", vantelSystemSettings, nullptr),
    ROW("[I]  vantel vantelSkillSettings", vantelSkillSettings, nullptr),
    ROW("[D]  vantel vantelFeedCustomTTSDataBegin", vantelFeedCustomTTSDataBegin, nullptr),
    ROW("[D]  vantel vantelFeedCustomTTSData", vantelFeedCustomTTSData, nullptr, 0),
    ROW("[D]  vantel vantelFeedCustomTTSDataEnd", vantelFeedCustomTTSDataEnd, nullptr),
    ROW("[I]  vantel vantelNotifyTTSEnd", vantelNotifyTTSEnd, nullptr),
    ROW("[I]  vantel vantelOperateOauth", vantelOperateOauth, nullptr),
    ROW("[I]  vantel vantelQXFindDevice", vantelQXFindDevice, nullptr),
    ROW("[I]  vantel vantelQXDownload", vantelQXDownload, nullptr),
    ROW("[I]  vantel vantelQXDFU", vantelQXDFU, nullptr),
    ROW("[I]  vantel vantelQXDownloadToDFU", vantelQXDownloadToDFU, nullptr),
    ROW("[I]  vantel vantelQXReset", vantelQXReset, nullptr),
    ROW("[I]  vantel vantelQXSetCustomNlg", vantelQXSetCustomNlg, nullptr),
    ROW("[I]  vantel QXOperateInfo", vantelQXOperateInfo, nullptr),
    ROW("[I]  vantel vantelStartFace", vantelStartFace, nullptr),
    ROW("[D]  vantel vantelFeedImage", vantelFeedImage, nullptr, 0, 1, 2, 3),
    ROW("[I]  vantel vantelStopFace", vantelStopFace, nullptr),
    ROW("[I]  vantel vantelCloudVprRegister", vantelCloudVprRegister, nullptr),
    ROW("[I]  vantel vantelCloudVprUnregister", vantelCloudVprUnregister, nullptr),
    ROW("[I]  vantel vantelCloudVprVerify", vantelCloudVprVerify, nullptr),
};
static_assert(std::size(kRows) == 39);

using Operations = Bench;

TEST_F(Operations, LogTheirEntryAndRefuseAHandleWithoutAnAgent)
{
    initialise();
    vantel::Instance noTable;
    vantel::NodeTable noAgents;
    vantel::Instance noAgent{.nodes = &noAgents};
    for (const Row &row : kRows) {
        for (vantel::Instance *instance :
             {static_cast<vantel::Instance *>(nullptr), &noTable, &noAgent}) {
            forget();
            EXPECT_EQ(row.operation(instance), -1) << row.name;
            EXPECT_EQ(log(), (Lines{row.entry, std::string("[E]  vantel   ") + row.name +
                                                   " err by vantel nodes or agent is nil"}));
        }
    }
}

} // namespace
