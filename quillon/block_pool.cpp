#include "quillon/block_pool.h"

#include <bit>
#include <cstdlib>
#include <new>

namespace vantel::quillon
{
namespace
{

constexpr size_t kSmallestBytes = 128;

// A pool keeps what it has ever made until the bus is freed, so there is a limit to it; what goes
// beyond in a burst comes from malloc and returns there.
constexpr size_t kMostBytes = size_t{2} << 20;

size_t shelfOf(size_t bytes)
{
    return static_cast<size_t>(std::bit_width((bytes - 1) / kSmallestBytes));
}

} // namespace

// The memory handed out begins behind this head.
struct alignas(16) BlockPool::Block {
    BlockPool *pool; // null: plain malloc
    union {
        size_t shelf; // while in use
        Block *next;  // while in the pool
    };
};

BlockPool::~BlockPool()
{
    for (Shelf &shelf : shelves_) {
        for (Block *list : {shelf.own, shelf.returned.load(std::memory_order_acquire)}) {
            while (list) {
                Block *next = list->next;
                std::free(list);
                list = next;
            }
        }
    }
}

BlockPool::Block *BlockPool::take(size_t index, size_t bytes)
{
    Shelf &shelf = shelves_[index];
    if (!shelf.own && shelf.returned.load(std::memory_order_relaxed))
        shelf.own = shelf.returned.exchange(nullptr, std::memory_order_acquire);
    if (Block *block = shelf.own) {
        shelf.own = block->next;
        return block;
    }
    if (madeBytes_ + bytes > kMostBytes) return nullptr;
    void *memory = std::malloc(bytes);
    if (!memory) return nullptr;
    madeBytes_ += bytes;
    return new (memory) Block{this, {0}};
}

void *BlockPool::allocate(size_t bytes)
{
    bytes += sizeof(Block);
    size_t shelf = shelfOf(bytes);
    Block *block = nullptr;
    if (shelf < kShelves && !isBusy_.exchange(true, std::memory_order_acquire)) {
        block = take(shelf, kSmallestBytes << shelf);
        isBusy_.store(false, std::memory_order_release);
    }
    if (!block) {
        void *memory = std::malloc(bytes);
        if (!memory) return nullptr;
        block = new (memory) Block{nullptr, {0}};
    }
    block->shelf = shelf;
    return block + 1;
}

void BlockPool::release(void *memory)
{
    Block *block = static_cast<Block *>(memory) - 1;
    if (!block->pool) return std::free(block);
    std::atomic<Block *> &returned = block->pool->shelves_[block->shelf].returned;
    Block *head = returned.load(std::memory_order_relaxed);
    do {
        block->next = head;
    } while (!returned.compare_exchange_weak(head, block, std::memory_order_release,
                                             std::memory_order_relaxed));
}

} // namespace vantel::quillon
