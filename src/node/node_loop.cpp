// How the thread of a node starts and ends.
#include "src/node/node_loop.h"

#include "tools/log.h"

#include <exception>
#include <memory>

namespace vantel
{
namespace
{

struct NodeDelete {
    void operator()(void *node) const { quillon_node_delete(node); }
};

// Topic names need no escaping.
std::string topicsJson(std::span<const char *const> topics)
{
    std::string json = "[";
    for (const char *topic : topics) {
        if (json.size() > 1) json += ',';
        json += '"';
        json += topic;
        json += '"';
    }
    return json + "]";
}

} // namespace

void *joinBus(void *bus, const NodeSpec &spec, void *record) noexcept
{
    std::unique_ptr<void, NodeDelete> node{
        quillon_node_new(bus, spec.name, spec.onmessage, spec.oncall, record)};
    try {
        if (node && quillon_node_subscribe(node.get(), topicsJson(spec.topics).c_str()) == 0)
            return node.release();
    } catch (const std::exception &) {
        // Without memory for the topics the node would be deaf.
    }
    VANTEL_LOG("src/node/node_loop", kError, "  %s node %s cannot join the bus\n", "vantel",
               spec.name);
    return nullptr;
}

} // namespace vantel
