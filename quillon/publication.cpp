#include "quillon/publication.h"

#include <cstring>
#include <new>

namespace vantel::quillon
{

// The items follow the head without a gap.
static_assert(sizeof(Publication) % alignof(Item) == 0);

Publication *publicationNew(BlockPool *pool, const Topic *topic, const void *data, uint32_t length,
                            uint32_t deliveries)
{
    size_t headBytes = sizeof(Publication) + deliveries * sizeof(Item);
    void *block = pool->allocate(headBytes + length + 1);
    if (!block) return nullptr;
    char *payload = static_cast<char *>(block) + headBytes;
    if (length > 0) std::memcpy(payload, data, length);
    payload[length] = '\0';
    auto *publication = new (block) Publication{topic, data ? payload : nullptr, length, {}};
    publication->references.store(deliveries, std::memory_order_relaxed);
    for (uint32_t index = 0; index < deliveries; ++index)
        new (publication->delivery(index)) Item{nullptr, ItemKind::message, index};
    return publication;
}

void publicationRelease(Publication *publication, uint32_t references)
{
    // The last holder needs no read-modify-write, and most publications have one subscriber.
    if (publication->references.load(std::memory_order_acquire) == references ||
        publication->references.fetch_sub(references, std::memory_order_acq_rel) == references)
        BlockPool::release(publication);
}

} // namespace vantel::quillon
