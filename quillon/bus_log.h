// The log call of the bus's files: `BUS_LOG(bus, level, format, ...)` writes to the bus's own log,
// which is silent when the bus was made without a path.
#pragma once

#include "tools/line_log.h"

#define QUILLON_LOG(source, bus, level, ...)                                                       \
    do {                                                                                           \
        if (::vantel::lineLogEnabled(&(bus)->log, level))                                          \
            ::vantel::lineLogPrint(&(bus)->log, level, source, __LINE__, __VA_ARGS__);             \
    } while (false)

namespace vantel::quillon
{

// The first argument of every line.
constexpr char kBusTag[] = "quillon";

} // namespace vantel::quillon
