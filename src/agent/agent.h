// The agent node, "localAgent": every request of the host enters the bus through it.
#pragma once

#include "src/node/instance.h"

#include <cstdint>

namespace vantel
{

// Null only when allocation fails. `configuration` is the instance's JSON text or null; it is
// copied.
AgentRecord *agentNew(void *bus, const char *configuration, Instance *instance);

// Starts the node's loop on "sbcp_agent": 0 once it runs, else another Start of node_loop.h.
int32_t agentStart(AgentRecord *record);

// Publishes "sys.localAgent.exit", ends the loop and takes the node off the bus. Null does nothing.
int32_t agentStop(AgentRecord *record);

// Frees the record; after agentStop, or when it never started. Null does nothing.
int32_t agentDelete(AgentRecord *record);

} // namespace vantel
