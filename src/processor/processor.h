// The processor node, "localProcessor": the dialog orchestrator of an instance.
#pragma once

#include "src/node/instance.h"

#include <cstdint>

namespace vantel::processor
{

// Null only when allocation fails. `configuration` is the instance's JSON text or null; it is
// copied.
ProcessorRecord *processorNew(void *bus, const char *configuration, Instance *instance);

// Starts the node's loop on "sbcp_processor": 0 once it runs, else another Start of node_loop.h.
int32_t processorStart(ProcessorRecord *record);

// Ends the loop and takes the node off the bus. Null does nothing.
int32_t processorStop(ProcessorRecord *record);

// Frees the record; after processorStop, or when it never started. Null does nothing.
int32_t processorDelete(ProcessorRecord *record);

} // namespace vantel::processor
