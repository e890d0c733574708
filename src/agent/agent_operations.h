// The requests of the host, one function for each exported operation.
//
// They run on the host's threads, several at once. Each checks, logs and publishes one topic from
// the agent's node, and returns 0; -1 when the request is refused.
#pragma once

#include <cstdint>

namespace vantel
{

struct AgentRecord;

int32_t agentEnableWakeup(AgentRecord *agent);
int32_t agentDisableWakeup(AgentRecord *agent);
int32_t agentStartExtendsp(AgentRecord *agent);
int32_t agentStopExtendsp(AgentRecord *agent);
int32_t agentStartListening(AgentRecord *agent);
int32_t agentStopListening(AgentRecord *agent);
int32_t agentStartDialog(AgentRecord *agent);

int32_t agentSetWakeupWords(AgentRecord *agent, const char *params);
int32_t agentEvaluateWakeupWords(AgentRecord *agent, const char *params);
int32_t agentStopDialog(AgentRecord *agent, const char *params); // params may be null
int32_t agentInputText(AgentRecord *agent, const char *params);
int32_t agentTriggerIntent(AgentRecord *agent, const char *params);
int32_t agentSetContextSync(AgentRecord *agent, const char *params);
int32_t agentSpeak(AgentRecord *agent, const char *params);
int32_t agentSetCustomAudio(AgentRecord *agent, const char *params);
int32_t agentSetParams(AgentRecord *agent, const char *params);
int32_t agentOperateVocabs(AgentRecord *agent, const char *params);
int32_t agentSystemSettings(AgentRecord *agent, const char *params);
int32_t agentSkillSettings(AgentRecord *agent, const char *params);
int32_t agentOperateOauth(AgentRecord *agent, const char *params);
int32_t agentCloudVprRegister(AgentRecord *agent, const char *params);
int32_t agentCloudVprUnregister(AgentRecord *agent, const char *params);
int32_t agentCloudVprVerify(AgentRecord *agent, const char *params);

int32_t agentFeedData(AgentRecord *agent, const void *data, int32_t length);

// These four also take a null agent.
int32_t agentFeedCustomTTSDataBegin(AgentRecord *agent, const char *params);
int32_t agentFeedCustomTTSData(AgentRecord *agent, const void *data, int32_t length);
int32_t agentFeedCustomTTSDataEnd(AgentRecord *agent, const char *params);
int32_t agentNotifyTTSEnd(AgentRecord *agent, const char *params);

int32_t agentStartFace(AgentRecord *agent, const char *params);
int32_t agentStopFace(AgentRecord *agent, const char *params);
// Publishes the three values, four bytes each with the most significant first, and then the image.
int32_t agentFeedImage(AgentRecord *agent, const void *data, int32_t length, uint32_t first,
                       uint32_t second, uint32_t third);

// The companion device is not driven: always -1.
int32_t agentQXFindDevice(AgentRecord *agent, const char *params);
int32_t agentQXDownload(AgentRecord *agent, const char *params);
int32_t agentQXDFU(AgentRecord *agent, const char *params);
int32_t agentQXDownloadToDFU(AgentRecord *agent, const char *params);
int32_t agentQXReset(AgentRecord *agent, const char *params);
int32_t agentQXSetCustomNlg(AgentRecord *agent, const char *params);
int32_t agentQXOperateInfo(AgentRecord *agent, const char *params);

} // namespace vantel
