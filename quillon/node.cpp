#include "quillon/node.h"

#include "quillon/bus_log.h"
#include "quillon/loop.h"
#include "tools/json.h"

#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#define NODE_LOG(bus, level, ...) QUILLON_LOG("quillon/node", bus, level, __VA_ARGS__)

namespace vantel::quillon
{
namespace
{

thread_local Node *loopOfThread = nullptr;

bool isNameUsable(const char *name)
{
    return name && *name && !std::strchr(name, '/');
}

// Takes the node off the bus, for good. The name is free for another node then.
void leaveBus(Node *node)
{
    {
        std::lock_guard locked{node->bus->mutex};
        auto found = node->bus->nodes.find(node->name);
        if (found != node->bus->nodes.end() && found->second == node) node->bus->nodes.erase(found);
    }
    node->bus->topics.unsubscribeAll(node);
}

void freeNode(Node *node)
{
    Bus *bus = node->bus;
    bus->grace.wait();
    callForget(node);
    bus->topics.forget(node);
    NODE_LOG(bus, kDebug, "  %s node %s deleted\n", kBusTag, node->name.c_str());
    delete node;
    busRelease(bus);
}

// The strings of a JSON array; false when it is anything else, or one of them is empty.
bool readTopics(const char *topicsJsonArray, std::vector<std::string> *topics)
{
    Json json = jsonParse(topicsJsonArray);
    if (!cJSON_IsArray(json.get())) return false;
    for (const cJSON *item = json->child; item; item = item->next) {
        if (!cJSON_IsString(item) || !*item->valuestring) return false;
        topics->push_back(item->valuestring);
    }
    return true;
}

} // namespace

Node *nodeOfThread()
{
    return loopOfThread;
}

bool nodeRunsOnThisThread(const Node *node)
{
    const Node *running = loopOfThread;
    while (running && running != node)
        running = running->outer;
    return running != nullptr;
}

Node *nodeNew(Bus *bus, const char *name, quillon_onmessage onmessage, quillon_oncall oncall,
              void *user)
{
    if (!isNameUsable(name)) {
        NODE_LOG(bus, kWarning, "  %s node name refused: %s\n", kBusTag, name ? name : "NULL");
        return nullptr;
    }
    auto node = std::make_unique<Node>();
    if (!node->inbox.isUsable()) return nullptr;
    node->name = name;
    node->onmessage = onmessage;
    node->oncall = oncall;
    node->user = user;
    uint32_t index = bus->nodesMade.fetch_add(1);
    node->slot = bus->grace.slot(index);
    node->pool = &bus->pools[index % bus->pools.size()];
    node->bus = bus;
    {
        std::lock_guard locked{bus->mutex};
        if (!bus->nodes.emplace(node->name, node.get()).second) {
            NODE_LOG(bus, kWarning, "  %s node %s exists already\n", kBusTag, name);
            return nullptr;
        }
    }
    busRetain(bus);
    NODE_LOG(bus, kDebug, "  %s node %s\n", kBusTag, name);
    return node.release();
}

int32_t nodeRun(Node *node)
{
    Bus *bus = node->bus;
    {
        std::lock_guard locked{bus->mutex};
        if (node->isRunning.exchange(true)) {
            NODE_LOG(bus, kWarning, "  %s node %s runs already\n", kBusTag, node->name.c_str());
            return -1;
        }
    }
    busRetain(bus);
    node->outer = std::exchange(loopOfThread, node);
    int64_t slack = platformWaitSlack(1);
    loopRun(node);
    platformWaitSlack(slack);
    loopOfThread = node->outer;
    if (node->isOrphan) {
        freeNode(node);
    } else {
        // A deleting thread may free the node as soon as the mutex is unlocked.
        std::lock_guard locked{bus->mutex};
        node->isRunning = false;
        bus->changed.notify_all();
    }
    busRelease(bus);
    return 0;
}

void nodeStop(Node *node)
{
    // The loop may return, and its thread delete the node, before this function is through.
    Grace::Reading reading{node->bus->grace, node->slot};
    node->isStopped = true;
    loopRelease(node->inbox.close());
    callReleaseWaiting(node);
}

void nodeDelete(Node *node)
{
    leaveBus(node);
    nodeStop(node);
    if (nodeRunsOnThisThread(node)) {
        node->isOrphan = true;
        return;
    }
    {
        std::unique_lock locked{node->bus->mutex};
        node->bus->changed.wait(locked, [node] { return !node->isRunning; });
    }
    freeNode(node);
}

int32_t nodeSubscribe(Node *node, const char *topicsJsonArray)
{
    std::vector<std::string> topics;
    if (!readTopics(topicsJsonArray, &topics)) {
        NODE_LOG(node->bus, kWarning, "  %s topics of %s refused: %s\n", kBusTag,
                 node->name.c_str(), topicsJsonArray ? topicsJsonArray : "NULL");
        return -1;
    }
    node->bus->topics.subscribe(node, topics);
    for (const std::string &topic : topics) {
        NODE_LOG(node->bus, kDebug, "  %s %s subscribes to %s\n", kBusTag, node->name.c_str(),
                 topic.c_str());
    }
    return 0;
}

} // namespace vantel::quillon
