#include "src/agent/agent.h"

namespace vantel
{

AgentRecord *agentNew(void *, const char *, Instance *) { return nullptr; }
int32_t agentStart(AgentRecord *) { return -1; }
int32_t agentStop(AgentRecord *) { return 0; }
int32_t agentDelete(AgentRecord *) { return 0; }

} // namespace vantel
