// A bus: its nodes by name, its topics, its clock, its log and its server loop.
#pragma once

#include "quillon/block_pool.h"
#include "quillon/bus_log.h"
#include "quillon/grace.h"
#include "quillon/topic_table.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace vantel::quillon
{

struct Node;

struct Bus {
    // Constant once the bus is made.
    int64_t clickNs = 0; // wake-ups for timers are rounded up to multiples of it; 0: exact
    BusLog log;

    std::array<BlockPool, 8> pools; // each node publishes from one of them
    Grace grace;
    Topics topics{&grace};
    std::atomic<int64_t> clockAheadNs{0};
    std::atomic<uint32_t> nodesMade{0};
    // The owner's handle, every node and every running loop hold one.
    std::atomic<uint32_t> references{1};

    // Guards the names, and with `changed` what loops and those who wait for them tell each other.
    std::mutex mutex;
    std::condition_variable changed;
    std::map<std::string, Node *, std::less<>> nodes;
    bool serverStopped = false;
};

// Null when the configuration is not a JSON object.
Bus *busNew(const char *configuration);

// Stops the server loop and all nodes that are left, and gives up the owner's hold.
void busDelete(Bus *bus);

void busRetain(Bus *bus);
void busRelease(Bus *bus); // the last one frees the bus

void busServerRun(Bus *bus);
void busServerStop(Bus *bus);

// Nanoseconds of the bus's clock: a monotonic one, moved on by busClockAdvance.
int64_t busNowNs(const Bus *bus);
void busClockAdvance(Bus *bus, int32_t milliseconds);

constexpr int64_t kNanosecondsPerMillisecond = 1000000;

} // namespace vantel::quillon
