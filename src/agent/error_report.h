// The error reports of the whole library, as the host receives them.
#pragma once

#include "include/vantel/errors.h" // the codes
#include "tools/heap_text.h"

#include <cstdint>
#include <vector>

namespace vantel
{

using ErrorCode = int32_t;

// {"errId", "errMsg", "extra"}: the code, its message, and the extra text, when there is one, as
// the JSON value that it begins with or else as a string. Empty only without memory. Any thread.
HeapText errorReport(ErrorCode code, const char *extra);

// Publishes the report of `code` (no extra text) on "sys.vantel.error" from `node`.
void publishError(void *node, ErrorCode code);

// Reports of a node that is not on the bus yet, in the order of their making.
using HeldReports = std::vector<ErrorCode>;

// Publishes at once when there is a node, else holds the report.
void publishOrHoldError(void *node, HeldReports *held, ErrorCode code);

// Publishes what was held; for the node's thread, once the node has subscribed.
void publishHeldErrors(void *node, HeldReports *held);

} // namespace vantel
