#include "quillon/publish.h"

#include "quillon/bus_log.h"
#include "quillon/node.h"
#include "quillon/publication.h"

#define PUBLISH_LOG(bus, level, ...) QUILLON_LOG("quillon/publish", bus, level, __VA_ARGS__)

namespace vantel::quillon
{
namespace
{

// Places of deleted nodes are counted as well.
uint32_t countPlaces(const Subscribers *list)
{
    for (const auto &place : list->places) {
        if (place.load(std::memory_order_relaxed))
            return static_cast<uint32_t>(list->places.size());
    }
    return 0;
}

} // namespace

int32_t publish(Node *publisher, const char *topicName, const void *data, uint32_t length)
{
    Bus *bus = publisher->bus;
    Grace::Reading reading{bus->grace, publisher->slot};
    const Topic *topic = bus->topics.find(topicName);
    if (!topic) return 0;
    const Subscribers *list = topic->subscribers.load(std::memory_order_seq_cst);
    uint32_t places = list ? countPlaces(list) : 0;
    if (places == 0) return 0;
    Publication *publication = publicationNew(publisher->pool, topic, data, length, places);
    if (!publication) {
        PUBLISH_LOG(bus, kError, "  %s no memory for %u bytes of %s\n", kBusTag, length, topicName);
        return -1;
    }
    uint32_t undelivered = 0;
    for (uint32_t index = 0; index < places; ++index) {
        Node *node = list->places[index].load(std::memory_order_seq_cst);
        if (!node || !node->inbox.push(publication->delivery(index))) ++undelivered;
    }
    if (undelivered > 0) publicationRelease(publication, undelivered);
    return 0;
}

} // namespace vantel::quillon
