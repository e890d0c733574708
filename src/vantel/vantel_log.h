// The log call of the exported functions.
#pragma once

#include "src/node/node_log.h"

#define API_LOG(level, ...) VANTEL_LOG(::vantel::kApiLog.source, level, __VA_ARGS__)

namespace vantel
{

constexpr char kApiTag[] = "vantel";
constexpr NodeLog kApiLog = {"src/vantel/vantel", kApiTag};

} // namespace vantel
