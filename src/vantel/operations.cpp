// The operations on an instance: each logs its entry and hands its arguments to the agent.
#include "include/vantel/vantel.h"
#include "src/agent/agent_operations.h"
#include "src/node/instance.h"
#include "src/vantel/vantel_log.h"

#include <new>

using namespace vantel;

namespace
{

int32_t refused(const char *name, const char *reason)
{
    API_LOG(kError, "  %s   %s err by %s\n", kApiTag, name, reason);
    return -1;
}

// The agent's result, or -1 (logged under the operation's name) when there is no agent, when nobody
// would hear what it publishes, or when the instance is being deleted.
template <typename... Taken, typename... Given>
int32_t ask(void *handle, const char *name, int32_t (*operation)(AgentRecord *, Taken...),
            Given... given)
{
    auto *instance = static_cast<Instance *>(handle);
    if (!instance || !instance->nodes) return refused(name, "vantel nodes or agent is nil");
    Usage::Scope use{&instance->usage};
    if (use.isRefused()) return refused(name, "vantelDelete, which is under way");
    if (!instance->nodes->agent) return refused(name, "vantel nodes or agent is nil");
    if (instance->missingParts & kProcessorPart)
        return refused(name, "a processor that could not be started");
    try {
        return operation(instance->nodes->agent, given...);
    } catch (const std::bad_alloc &) {
        return refused(name, "memory that has run out");
    }
}

} // namespace

// name, entry line, agent operation; by the arguments after the handle.

#define WITHOUT_ARGUMENTS(name, line, operation)                                                   \
    int32_t name(void *handle)                                                                     \
    {                                                                                              \
        API_LOG(kInfo, line, kApiTag);                                                             \
        return ask(handle, #name, operation);                                                      \
    }

WITHOUT_ARGUMENTS(vantelEnableWakeup, "  %s  vantelEnableWakeup\n", agentEnableWakeup)
WITHOUT_ARGUMENTS(vantelDisableWakeup, "  %s  vantelDisableWakeup\n", agentDisableWakeup)
WITHOUT_ARGUMENTS(vantelStartExtendsp, "  %s  vantelStartExtendsp\n", agentStartExtendsp)
WITHOUT_ARGUMENTS(vantelStopExtendsp, "  %s  vantelStopExtendsp\n", agentStopExtendsp)
WITHOUT_ARGUMENTS(vantelStartListening, "  %s vantelStartListening\n", agentStartListening)
WITHOUT_ARGUMENTS(vantelStopListening, "  %s vantelStopListening\n", agentStopListening)
WITHOUT_ARGUMENTS(vantelStartDialog, "  %s vantelStartDialog\n", agentStartDialog)

#define WITH_PARAMS(name, level, line, operation)                                                  \
    int32_t name(void *handle, const char *params)                                                 \
    {                                                                                              \
        API_LOG(level, line, kApiTag);                                                             \
        return ask(handle, #name, operation, params);                                              \
    }

// clang-format off
WITH_PARAMS(vantelSetWakeupWords, kInfo, "  %s   vantelSetWakeupWords\n", agentSetWakeupWords)
WITH_PARAMS(vantelEvaluateKeyWords, kInfo, "  %s vantelEvaluateWakeupWords\n", agentEvaluateWakeupWords)
WITH_PARAMS(vantelInputText, kInfo, "  %s vantelInputText\n", agentInputText)
WITH_PARAMS(vantelTriggerIntent, kInfo, "  %s vantelTriggerIntent\n", agentTriggerIntent)
WITH_PARAMS(vantelSetContextSync, kInfo, "  %s vantelSetContextSync\n", agentSetContextSync)
WITH_PARAMS(vantelSpeak, kInfo, "  %s vantelSpeak\n", agentSpeak)
WITH_PARAMS(vantelSetCustomAudio, kInfo, "  %s vantelSetCustomAudio\n", agentSetCustomAudio)
WITH_PARAMS(vantelSetParams, kInfo, "  %s vantelSetParams\n", agentSetParams)
WITH_PARAMS(vantelOperateVocabs, kInfo, "  %s vantelOperateVocabs\n", agentOperateVocabs)
WITH_PARAMS(vantelSystemSettings, kInfo, "  %s vantelSystemSettings\n", agentSystemSettings)
WITH_PARAMS(vantelSkillSettings, kInfo, "  %s vantelSkillSettings\n", agentSkillSettings)
WITH_PARAMS(vantelFeedCustomTTSDataBegin, kDebug, "  %s vantelFeedCustomTTSDataBegin\n", agentFeedCustomTTSDataBegin)
WITH_PARAMS(vantelFeedCustomTTSDataEnd, kDebug, "  %s vantelFeedCustomTTSDataEnd\n", agentFeedCustomTTSDataEnd)
WITH_PARAMS(vantelNotifyTTSEnd, kInfo, "  %s vantelNotifyTTSEnd\n", agentNotifyTTSEnd)
WITH_PARAMS(vantelOperateOauth, kInfo, "  %s vantelOperateOauth\n", agentOperateOauth)
WITH_PARAMS(vantelQXFindDevice, kInfo, "  %s vantelQXFindDevice\n", agentQXFindDevice)
WITH_PARAMS(vantelQXDownload, kInfo, "  %s vantelQXDownload\n", agentQXDownload)
WITH_PARAMS(vantelQXDFU, kInfo, "  %s vantelQXDFU\n", agentQXDFU)
WITH_PARAMS(vantelQXDownloadToDFU, kInfo, "  %s vantelQXDownloadToDFU\n", agentQXDownloadToDFU)
WITH_PARAMS(vantelQXReset, kInfo, "  %s vantelQXReset\n", agentQXReset)
WITH_PARAMS(vantelQXSetCustomNlg, kInfo, "  %s vantelQXSetCustomNlg\n", agentQXSetCustomNlg)
WITH_PARAMS(vantelQXOperateInfo, kInfo, "  %s QXOperateInfo\n", agentQXOperateInfo)
WITH_PARAMS(vantelStartFace, kInfo, "  %s vantelStartFace\n", agentStartFace)
WITH_PARAMS(vantelStopFace, kInfo, "  %s vantelStopFace\n", agentStopFace)
WITH_PARAMS(vantelCloudVprRegister, kInfo, "  %s vantelCloudVprRegister\n", agentCloudVprRegister)
WITH_PARAMS(vantelCloudVprUnregister, kInfo, "  %s vantelCloudVprUnregister\n", agentCloudVprUnregister)
WITH_PARAMS(vantelCloudVprVerify, kInfo, "  %s vantelCloudVprVerify\n", agentCloudVprVerify)
// clang-format on

int32_t vantelStopDialog(void *handle)
{
    API_LOG(kInfo, "  %s vantelStopDialog\n", kApiTag);
    return ask(handle, "vantelStopDialog", agentStopDialog, nullptr);
}

int32_t vantelStopDialogParams(void *handle, const char *params)
{
    API_LOG(kInfo, "  %s vantelStopDialogParams: %s\n", kApiTag, orNull(params));
    return ask(handle, "vantelStopDialogParams", agentStopDialog, params);
}

#define WITH_DATA(name, line, operation)                                                           \
    int32_t name(void *handle, const void *data, int32_t length)                                   \
    {                                                                                              \
        API_LOG(kDebug, line, kApiTag);                                                            \
        return ask(handle, #name, operation, data, length);                                        \
    }

WITH_DATA(vantelFeedData, "  %s vantelFeedData\n", agentFeedData)
WITH_DATA(vantelFeedCustomTTSData, "  %s vantelFeedCustomTTSData\n", agentFeedCustomTTSData)

int32_t vantelFeedImage(void *handle, const void *data, int32_t length, uint32_t first,
                        uint32_t second, uint32_t third)
{
    API_LOG(kDebug, "  %s vantelFeedImage\n", kApiTag);
    return ask(handle, "vantelFeedImage", agentFeedImage, data, length, first, second, third);
}
