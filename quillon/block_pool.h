// Memory for publications, used again while it is still in the processor's cache.
//
// Publishers take blocks, subscribers on other threads give them back: the worst pattern for a
// general allocator, which would fetch pages from the system and return them all the time.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>

namespace vantel::quillon
{

class BlockPool
{
public:
    BlockPool() = default;
    // All blocks have been released.
    ~BlockPool();
    BlockPool(const BlockPool &) = delete;
    BlockPool &operator=(const BlockPool &) = delete;

    // Aligned as malloc's; null when there is no memory. Any thread: one at a time takes from the
    // pool, others get memory of their own meanwhile.
    void *allocate(size_t bytes);

    // Of any pool; any thread.
    static void release(void *memory);

private:
    struct Block;

    // Blocks of one power of two. Those that come back are collected apart, so that giving back
    // takes no lock; the taker fetches all of them in one step when its own have run out.
    struct alignas(64) Shelf {
        Block *own = nullptr;
        alignas(64) std::atomic<Block *> returned{nullptr};
    };
    static constexpr size_t kShelves = 8;

    Block *take(size_t shelf, size_t bytes);

    alignas(64) std::atomic<bool> isBusy_{false};
    size_t madeBytes_ = 0; // of all shelves; guarded by isBusy_, like every `own`
    std::array<Shelf, kShelves> shelves_;
};

} // namespace vantel::quillon
