// The error reports of the whole library, as the host receives them.
#pragma once

#include "tools/heap_text.h"

#include <cstdint>
#include <vector>

namespace vantel
{

using ErrorCode = int32_t;

// Codes that this library's own modules report; the table in error_report.cpp has them all.
constexpr ErrorCode kErrLocalAsrConfidence = -7899;
constexpr ErrorCode kErrAsrCore = -7898;
constexpr ErrorCode kErrLocalAsrLimit = -7897;
constexpr ErrorCode kErrLocalAsrNull = -7896;
constexpr ErrorCode kErrDmNetworkTimeout = -7799;
constexpr ErrorCode kErrSkillsTimeout = -7796;
constexpr ErrorCode kErrNativeApiFeedback = -7795;
constexpr ErrorCode kErrCloudAsrTimeout = -7794;
constexpr ErrorCode kErrVadCore = -7399;
constexpr ErrorCode kErrSnrConfidence = -7398;
constexpr ErrorCode kErrSnrCore = -7397;
constexpr ErrorCode kErrSnrNotVoice = -7395;
constexpr ErrorCode kErrSnrNotSilence = -7394;
constexpr ErrorCode kErrWakeupWords = -7288;
constexpr ErrorCode kErrGramCore = -7199;
constexpr ErrorCode kErrParams = -6899;

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
