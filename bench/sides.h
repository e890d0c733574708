// The same work twice: over the bus, and over the sockets it is compared with.
#pragma once

#include "bench/measure.h"

#include <cstddef>

namespace bench
{

constexpr size_t kSmallBytes = 320;  // ten milliseconds of audio
constexpr size_t kLargeBytes = 3200; // a hundred

// Each function sets up, measures and takes down. Figures in nanoseconds.
namespace bus_side
{
double oneWayP50(int messages);
Cost flood(size_t bytes, int messages, int subscribers); // a delivery
double callP50(int calls);
double timerErrorP50(int timers); // early or late, either way
// Wake-ups of four idle nodes, one with a far timer, in a second.
double idleWakeUps();
// A publication that nobody hears.
Cost unheard(int messages);
} // namespace bus_side

namespace socket_side
{
double oneWayP50(int messages);
Cost flood(size_t bytes, int messages, int subscribers);
double callP50(int calls);
double timerErrorP50(int timers); // early or late, either way
} // namespace socket_side

// Both sides send at this pace where latency is measured.
constexpr int64_t kPaceNs = 1000000;

// Programs set timers at any moment: here one on each of these messages, 5 and 50 ms in turn.
constexpr int64_t kTimerPaceNs = 3370000;
constexpr int kTimerMs[] = {5, 50};

} // namespace bench
