#include "tests/vantel/recorded_host.h"

#include <functional>

namespace
{

struct Row {
    const char *name;
    std::function<int32_t(void *)> operation;
    const char *entry; // with its level
};

// A table row of an operation by what it takes after the handle.
#define NONE(name, entry)                                                                          \
    {                                                                                              \
#name, name, entry                                                                         \
    }
#define PARAMS(name, entry)                                                                        \
    {                                                                                              \
#name, [](void *h) { return name(h, nullptr); }, entry                                     \
    }
#define DATA(name, entry)                                                                          \
    {                                                                                              \
#name, [](void *h) { return name(h, nullptr, 0); }, entry                                  \
    }
#define IMAGE(name, entry)                                                                         \
    {                                                                                              \
#name, [](void *h) { return name(h, nullptr, 0, 1, 2, 3); }, entry                         \
    }

const Row kRows[] = {
    PARAMS(vantelSetWakeupWords, "[I]  vantel   vantelSetWakeupWords"),
    NONE(vantelEnableWakeup, "[I]  vantel  vantelEnableWakeup"),
    PARAMS(vantelEvaluateKeyWords, "[I]  vantel vantelEvaluateWakeupWords"),
    NONE(vantelDisableWakeup, "[I]  vantel  vantelDisableWakeup"),
    NONE(vantelStartExtendsp, "[I]  vantel  vantelStartExtendsp"),
    NONE(vantelStopExtendsp, "[I]  vantel  vantelStopExtendsp"),
    NONE(vantelStartListening, "[I]  vantel vantelStartListening"),
    NONE(vantelStopListening, "[I]  vantel vantelStopListening"),
    NONE(vantelStartDialog, "[I]  vantel vantelStartDialog"),
    NONE(vantelStopDialog, "[I]  vantel vantelStopDialog"),
    PARAMS(vantelStopDialogParams, "[I]  vantel vantelStopDialogParams: NULL"),
    DATA(vantelFeedData, "[D]  vantel vantelFeedData"),
    PARAMS(vantelInputText, "[I]  vantel vantelInputText"),
    PARAMS(vantelTriggerIntent, "[I]  vantel vantelTriggerIntent"),
    PARAMS(vantelSetContextSync, "[I]  vantel vantelSetContextSync"),
    PARAMS(vantelSpeak, "[I]  vantel vantelSpeak"),
    PARAMS(vantelSetCustomAudio, "[I]  vantel vantelSetCustomAudio"),
    PARAMS(vantelSetParams, "[I]  vantel vantelSetParams"),
    PARAMS(vantelOperateVocabs, "[I]  vantel vantelOperateVocabs"),
    PARAMS(vantelSystemSettings, "[I]  vantel vantelSystemSettings"),
    PARAMS(vantelSkillSettings, "[I]  vantel vantelSkillSettings"),
    PARAMS(vantelFeedCustomTTSDataBegin, "[D]  vantel vantelFeedCustomTTSDataBegin"),
    DATA(vantelFeedCustomTTSData, "[D]  vantel vantelFeedCustomTTSData"),
    PARAMS(vantelFeedCustomTTSDataEnd, "[D]  vantel vantelFeedCustomTTSDataEnd"),
    PARAMS(vantelNotifyTTSEnd, "[I]  vantel vantelNotifyTTSEnd"),
    PARAMS(vantelOperateOauth, "[I]  vantel vantelOperateOauth"),
    PARAMS(vantelQXFindDevice, "[I]  vantel vantelQXFindDevice"),
    PARAMS(vantelQXDownload, "[I]  vantel vantelQXDownload"),
    PARAMS(vantelQXDFU, "[I]  vantel vantelQXDFU"),
    PARAMS(vantelQXDownloadToDFU, "[I]  vantel vantelQXDownloadToDFU"),
    PARAMS(vantelQXReset, "[I]  vantel vantelQXReset"),
    PARAMS(vantelQXSetCustomNlg, "[I]  vantel vantelQXSetCustomNlg"),
    PARAMS(vantelQXOperateInfo, "[I]  vantel QXOperateInfo"),
    PARAMS(vantelStartFace, "[I]  vantel vantelStartFace"),
    IMAGE(vantelFeedImage, "[D]  vantel vantelFeedImage"),
    PARAMS(vantelStopFace, "[I]  vantel vantelStopFace"),
    PARAMS(vantelCloudVprRegister, "[I]  vantel vantelCloudVprRegister"),
    PARAMS(vantelCloudVprUnregister, "[I]  vantel vantelCloudVprUnregister"),
    PARAMS(vantelCloudVprVerify, "[I]  vantel vantelCloudVprVerify"),
};
static_assert(std::size(kRows) == 39);

using Operations = RecordedHost;

TEST_F(Operations, LogTheirEntryAndRefuseAHandleWithoutAnAgent)
{
    vantelInit(logConfiguration().c_str());
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
