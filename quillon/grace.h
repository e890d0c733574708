// Lets readers walk shared lists without a lock: whoever took something out of a list waits until
// every reader that may still see it has left, and frees it then.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>

namespace vantel::quillon
{

class Grace
{
public:
    // Readers of different slots do not share a cache line.
    struct alignas(64) Slot {
        std::array<std::atomic<uint32_t>, 2> readers{};
    };

    // A stretch of reading. It is short, calls nothing of the user's and never waits for a grace
    // period itself. Pointers that the writer swaps are loaded with sequential consistency.
    class Reading
    {
    public:
        Reading(const Grace &grace, Slot *slot)
            : readers_(slot->readers[grace.phase_.load(std::memory_order_relaxed) & 1U])
        {
            readers_.fetch_add(1, std::memory_order_seq_cst);
        }
        ~Reading() { readers_.fetch_sub(1, std::memory_order_release); }
        Reading(const Reading &) = delete;
        Reading &operator=(const Reading &) = delete;

    private:
        std::atomic<uint32_t> &readers_;
    };

    // Any number may be the index; nodes take one each.
    Slot *slot(uint32_t index) { return &slots_[index % slots_.size()]; }

    // Returns when every reading that had begun before the call has ended. Not from inside one.
    void wait();

private:
    void waitForPhase();

    std::array<Slot, 16> slots_;
    std::atomic<uint32_t> phase_{0};
    std::mutex mutex_; // one waiter at a time
};

} // namespace vantel::quillon
