// The C interface: refuses null handles and impossible arguments, and lets no exception out.
#include "contracts/quillon.h"

#include "quillon/bus_log.h"
#include "quillon/clock.h"
#include "quillon/node.h"
#include "quillon/publish.h"

#include <new>

#define EDGE_LOG(bus, level, ...) QUILLON_LOG("quillon/quillon", bus, level, __VA_ARGS__)

using namespace vantel;
using namespace vantel::quillon;

namespace
{

// 2 GiB: lengths are signed elsewhere, and a length above is a negative number in disguise.
constexpr uint32_t kLongestBytes = 0x7fffffff;

// Memory can run out below; everything else that throws is a broken invariant.
template <typename Result, typename Body> Result withoutThrowing(Result failure, Body body) noexcept
{
    try {
        return body();
    } catch (const std::exception &) {
        return failure;
    }
}

bool isRefused(Node *node, const char *what, const char *name, const void *data, uint32_t length)
{
    if (!node) return true;
    if (name && length <= kLongestBytes && (data || length == 0)) return false;
    EDGE_LOG(node->bus, kWarning, "  %s %s of %s refused: %s, data %p, length %u\n", kBusTag, what,
             node->name.c_str(), name ? name : "NULL", data, length);
    return true;
}

} // namespace

void *quillon_bus_new(const char *configuration)
{
    return withoutThrowing<void *>(nullptr, [&] { return busNew(configuration); });
}

int32_t quillon_bus_delete(void *bus)
{
    if (!bus) return -1;
    busDelete(static_cast<Bus *>(bus));
    return 0;
}

int32_t quillon_server_run(void *bus)
{
    if (!bus) return -1;
    busServerRun(static_cast<Bus *>(bus));
    return 0;
}

int32_t quillon_server_stop(void *bus)
{
    if (!bus) return -1;
    busServerStop(static_cast<Bus *>(bus));
    return 0;
}

void *quillon_node_new(void *bus, const char *name, quillon_onmessage onmessage,
                       quillon_oncall oncall, void *user)
{
    if (!bus) return nullptr;
    return withoutThrowing<void *>(
        nullptr, [&] { return nodeNew(static_cast<Bus *>(bus), name, onmessage, oncall, user); });
}

int32_t quillon_node_subscribe(void *node, const char *topicsJsonArray)
{
    if (!node) return -1;
    return withoutThrowing(
        -1, [&] { return nodeSubscribe(static_cast<Node *>(node), topicsJsonArray); });
}

int32_t quillon_node_run(void *node)
{
    return node ? nodeRun(static_cast<Node *>(node)) : -1;
}

int32_t quillon_node_stop(void *node)
{
    if (!node) return -1;
    nodeStop(static_cast<Node *>(node));
    return 0;
}

int32_t quillon_node_delete(void *node)
{
    if (!node) return -1;
    nodeDelete(static_cast<Node *>(node));
    return 0;
}

int32_t quillon_publish(void *opaque, const char *topic, const void *data, uint32_t length)
{
    Node *node = static_cast<Node *>(opaque);
    if (isRefused(node, "publication", topic, data, length)) return -1;
    return publish(node, topic, data, length);
}

const char *quillon_call(void *opaque, const char *path, const char *data, uint32_t length)
{
    Node *node = static_cast<Node *>(opaque);
    if (isRefused(node, "call", path, data, length)) return nullptr;
    return withoutThrowing<const char *>(nullptr,
                                         [&] { return callMake(node, path, data, length); });
}

int32_t quillon_timer_set(void *opaque, quillon_timer callback, int32_t milliseconds, int32_t tag,
                          void *user)
{
    Node *node = static_cast<Node *>(opaque);
    if (!node) return -1;
    if (!callback || milliseconds < 0 || node->isStopped) {
        EDGE_LOG(node->bus, kWarning, "  %s timer of %s refused: %d ms, tag %d\n", kBusTag,
                 node->name.c_str(), milliseconds, tag);
        return -1;
    }
    return withoutThrowing(-1, [&] {
        int64_t deadline = busNowNs(node->bus) + milliseconds * kNanosecondsPerMillisecond;
        int32_t id = node->timers.set(deadline, callback, tag, user);
        // From its own callbacks the loop finds the timer before it sleeps.
        node->inbox.nudge();
        return id;
    });
}

int32_t quillon_timer_kill(void *node, int32_t id)
{
    return node && static_cast<Node *>(node)->timers.kill(id) ? 0 : -1;
}

int32_t quillon_clock_advance(void *bus, int32_t milliseconds)
{
    if (!bus || milliseconds < 0) return -1;
    busClockAdvance(static_cast<Bus *>(bus), milliseconds);
    return 0;
}
