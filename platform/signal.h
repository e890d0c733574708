// A wake-up for one waiting thread.
//
// A set that comes before the wait is kept, and several of them count as one.
#pragma once

#include <cstdint>

namespace vantel
{

using PlatformSignal = void *;

// Null when there is no memory.
PlatformSignal platformSignalCreate();
void platformSignalDestroy(PlatformSignal signal);

// Any thread. Does not touch the signal any more once the waiting thread can see the set.
void platformSignalSet(PlatformSignal signal);

constexpr int64_t kWaitForever = -1;

// Waits for a set and takes it. `nanoseconds` limits the wait unless it is negative; the wait may
// also end early for no reason. Whether a set was taken.
bool platformSignalWait(PlatformSignal signal, int64_t nanoseconds);

// How late the system may end this thread's timed waits, in nanoseconds, so as to save wake-ups.
// Returns what held before; systems without such a setting ignore it and return 0.
int64_t platformWaitSlack(int64_t nanoseconds);

} // namespace vantel
