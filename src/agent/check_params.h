// The checks of the host's request parameters, before they reach the other nodes.
//
// A check returns 0 for valid parameters. For invalid ones it logs what is wrong, publishes it as
// the report of code -6899 from the agent's node, and returns -1. Agent and parameters may be null,
// which is invalid; without an agent nothing is published. Any thread.
#pragma once

#include <cstdint>

namespace vantel
{

struct AgentRecord;

int32_t checkParamsSetWakeupWords(AgentRecord *agent, const char *params);
int32_t checkParamsEvaluateWakeupWords(AgentRecord *agent, const char *params);
int32_t checkParamsAgentInputText(AgentRecord *agent, const char *params);
int32_t checkParamsTriggerIntent(AgentRecord *agent, const char *params);
int32_t checkParamsSpeak(AgentRecord *agent, const char *params);
int32_t checkParamsSetCustomAudio(AgentRecord *agent, const char *params);
int32_t checkParamsSetParams(AgentRecord *agent, const char *params);
int32_t checkParamsOperateVocabs(AgentRecord *agent, const char *params);
int32_t checkParamsSystemSettings(AgentRecord *agent, const char *params);
int32_t checkParamsSkillSettings(AgentRecord *agent, const char *params);

} // namespace vantel
