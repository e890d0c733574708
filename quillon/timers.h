// A node's one-shot timers, in the order of their deadlines. Any thread.
#pragma once

#include "contracts/quillon.h"
#include "tools/thread_safety.h"

#include <atomic>
#include <cstdint>
#include <limits>
#include <map>
#include <unordered_map>

namespace vantel::quillon
{

struct Timer {
    int32_t id;
    int32_t tag;
    quillon_timer callback;
    void *user;
};

class Timers
{
public:
    static constexpr int64_t kNever = std::numeric_limits<int64_t>::max();

    // `deadlineNs` is a time of the bus's clock. Returns the timer's id.
    int32_t set(int64_t deadlineNs, quillon_timer callback, int32_t tag, void *user);

    // False when no such timer is pending.
    bool kill(int32_t id);

    // Takes out the earliest timer if it is due.
    bool takeDue(int64_t nowNs, Timer *timer);

    // kNever when none is pending.
    int64_t earliestNs() const;

    // Costs no lock, so that a loop without timers need not read the clock. Sequentially consistent
    // with the inbox: a loop that falls asleep sees the timer, or whoever set it sees the sleeper.
    bool isEmpty() const { return pending_.load(std::memory_order_seq_cst) == 0; }

private:
    // Timers of one deadline expire in the order in which they were set.
    using Due = std::pair<int64_t, uint64_t>;

    int32_t freeId() REQUIRES(mutex_);

    mutable Mutex mutex_;
    std::atomic<size_t> pending_{0};
    std::map<Due, Timer> byDeadline_ GUARDED_BY(mutex_);
    std::unordered_map<int32_t, Due> byId_ GUARDED_BY(mutex_);
    uint64_t sequence_ GUARDED_BY(mutex_) = 0;
    int32_t lastId_ GUARDED_BY(mutex_) = 0;
};

} // namespace vantel::quillon
