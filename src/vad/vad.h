// The VAD node, "localVad": cuts the microphone audio into speech and measures its quality.
#pragma once

#include "src/node/instance.h"

#include <cstdint>

namespace vantel::vad
{

// Null only when allocation fails. `configuration` is the instance's JSON text or null; it is
// copied.
VadRecord *vadNew(void *bus, const char *configuration, Instance *instance);

// Starts the node's loop on "sbcp_vad": 0 once it runs, else another Start of node_loop.h.
int32_t vadStart(VadRecord *record);

// Ends the loop and takes the node off the bus. Null does nothing.
int32_t vadStop(VadRecord *record);

// Frees the detector and the record; after vadStop, or when it never started. Null does nothing.
int32_t _vadDelete(VadRecord *record);

} // namespace vantel::vad
