// A bus's log: a file that all buses of the process with the same path share, each with a level of
// its own. `QUILLON_LOG(source, bus, level, format, ...)` writes a line to it; without a file that
// can be opened there is no log, because a library does not print.
#pragma once

#include "tools/line_log.h"

#include <cstdint>

#define QUILLON_LOG(source, bus, level, ...)                                                       \
    do {                                                                                           \
        if (const ::vantel::quillon::BusLog &busLog = (bus)->log; (level) >= busLog.lowest)        \
            ::vantel::lineLogPrint(busLog.file, level, source, __LINE__, __VA_ARGS__);             \
    } while (false)

namespace vantel::quillon
{

// The first argument of every line.
constexpr char kBusTag[] = "quillon";

struct BusLog {
    BusLog() = default;
    ~BusLog(); // the last bus of a file closes it
    BusLog(const BusLog &) = delete;
    BusLog &operator=(const BusLog &) = delete;

    // Constant once the log is open.
    int32_t lowest = kLogNothing; // level that is shown
    LineLog *file = nullptr;
};

struct BusLogSettings {
    int32_t level;
    const char *path; // null or empty: no log
    int32_t mode;     // 0: the file starts afresh, unless another bus has it open
    float sizeMb;     // of the first bus that has the file open
};

// Opens the log of a new bus. std::bad_alloc without memory.
void busLogOpen(BusLog *log, const BusLogSettings &settings);

} // namespace vantel::quillon
