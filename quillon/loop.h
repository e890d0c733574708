// The loop of a node: takes what is queued, runs the callbacks, rests when there is nothing to do.
#pragma once

#include "quillon/inbox.h"

#include <atomic>
#include <cstdint>

namespace vantel::quillon
{

struct Node;

// How a loop rests. A loop that is woken again and again within microseconds pays more for the
// wake-ups than for the work, so it tries something cheaper for as long as that pays:
enum class Rest {
    sleep, // until it is woken
    nap,   // for a moment in which messages gather; only calls, timers and a stop wake it
    yield, // lets other threads run once, of which one is likely to call again
};

// Touched by the loop's thread only, except for what others read.
struct Pace {
    Rest rest = Rest::sleep;
    bool hasRested = false;                    // in a cheaper way than sleep, just now
    bool isCalled = false;                     // the last item was a call
    int64_t restedAtNs = 0;                    // when the loop last had nothing to do
    uint32_t shortRests = 0;                   // one after another
    uint32_t shortRestsToTry = kFewShortRests; // grows with every vain attempt
    std::atomic<bool> isYielding{false};       // read by callers, who then yield as well

    static constexpr uint32_t kFewShortRests = 8;
    static constexpr uint32_t kManyShortRests = 1024;
};

// Runs until the node is stopped.
void loopRun(Node *node);

// Frees items that are not handled any more, linked by `next`.
void loopRelease(Item *items);

} // namespace vantel::quillon
