// How much of the host's audio waits between vantelFeedData and the detector's node.
//
// The bus itself has no limit, so that no request is ever refused; audio is what can pile up for
// hours when the detector's node stands still in a slow callback.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

namespace vantel
{

constexpr int32_t kAudioBytesPerMs = 32;

struct AudioQueue {
    std::atomic<int64_t> waitingBytes{0};
    // Of the spell in which audio is refused; it ends when half of the limit is free again.
    std::atomic<bool> isRefusing{false};
    std::atomic<int64_t> refusedBytes{0};
};

// The detector's node has handled a chunk. Members of the bus may publish audio as well, which was
// never counted.
inline void audioHandled(AudioQueue *queue, int64_t bytes)
{
    int64_t waiting = queue->waitingBytes.load(std::memory_order_relaxed);
    while (!queue->waitingBytes.compare_exchange_weak(
        waiting, std::max<int64_t>(waiting - bytes, 0), std::memory_order_relaxed)) {
    }
}

} // namespace vantel
