// A published payload: one block shared by all subscribers, freed by the last of them.
#pragma once

#include "quillon/block_pool.h"
#include "quillon/inbox.h"
#include "quillon/topic_table.h"

#include <atomic>
#include <cstdint>

namespace vantel::quillon
{

// The block goes on behind this head: one Item for each delivery, then the payload and its zero
// byte.
struct Publication {
    const Topic *topic;
    const char *data; // null when null was published
    uint32_t length;  // bytes, without the zero byte
    std::atomic<uint32_t> references;

    Item *delivery(uint32_t index) { return reinterpret_cast<Item *>(this + 1) + index; }
};

// A copy of the payload with `deliveries` references; null when there is no memory.
Publication *publicationNew(BlockPool *pool, const Topic *topic, const void *data, uint32_t length,
                            uint32_t deliveries);

void publicationRelease(Publication *publication, uint32_t references = 1);

inline Publication *publicationOf(Item *delivery)
{
    return reinterpret_cast<Publication *>(delivery - delivery->index) - 1;
}

} // namespace vantel::quillon
