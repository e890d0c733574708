// The DMS node, "localDms": runs the local recogniser over each listening turn.
#pragma once

#include "src/node/instance.h"

#include <cstdint>

namespace vantel::dms
{

// Null only when allocation fails. `configuration` is the instance's JSON text or null; it is
// copied.
DmsRecord *dmsNew(void *bus, const char *configuration, Instance *instance);

// Starts the node's loop on "sbcp_dms": 0 once it runs, else another Start of node_loop.h.
int32_t dmsStart(DmsRecord *record);

// Ends the loop and takes the node off the bus. Null does nothing.
int32_t dmsStop(DmsRecord *record);

// Releases the recogniser; after dmsStop and before _dmsDelete.
int32_t ldmExit(DmsRecord *record);

// Frees the record; after dmsStop, or when it never started. Null does nothing.
int32_t _dmsDelete(DmsRecord *record);

} // namespace vantel::dms
