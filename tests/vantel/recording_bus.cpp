#include "tests/vantel/recording_bus.h"

#include "contracts/quillon.h"
#include "tools/heap_text.h"

#include <condition_variable>
#include <memory>
#include <mutex>

namespace
{

// A bus, whose loop is the server's, or a node with its own.
struct Loop {
    std::string name;
    quillon_onmessage onmessage = nullptr;
    quillon_oncall oncall = nullptr;
    void *user = nullptr;
    std::string topics = {};
    bool isStopped = false;
    bool isRunning = false;
};

std::mutex mutex;
std::condition_variable changed;
std::vector<std::string> allCalls;
std::vector<recording::Publication> allPublished;
std::vector<std::shared_ptr<Loop>> loops;
std::string latestConfiguration;
bool areBusesRefused = false;
std::function<void(const std::string &)> nodeHandler;

void record(const std::string &call)
{
    allCalls.push_back(call);
}

void *add(Loop loop)
{
    loops.push_back(std::make_shared<Loop>(std::move(loop)));
    return loops.back().get();
}

Loop *named(const std::string &name)
{
    std::lock_guard locked{mutex};
    for (auto it = loops.rbegin(); it != loops.rend(); ++it) {
        if ((*it)->name == name) return it->get();
    }
    return nullptr;
}

int32_t run(Loop *loop)
{
    std::unique_lock locked{mutex};
    loop->isRunning = true;
    changed.wait(locked, [loop] { return loop->isStopped; });
    loop->isRunning = false;
    return 0;
}

int32_t stop(Loop *loop, const std::string &call)
{
    std::lock_guard locked{mutex};
    record(call);
    loop->isStopped = true;
    changed.notify_all();
    return 0;
}

// The record of a deleted loop stays, so that a late use does no harm.
int32_t remove(Loop *loop, const std::string &call)
{
    std::lock_guard locked{mutex};
    record(call + (loop->isRunning ? " while running" : ""));
    return 0;
}

} // namespace

void *quillon_bus_new(const char *configuration)
{
    std::lock_guard locked{mutex};
    record("bus_new");
    latestConfiguration = configuration ? configuration : "(null)";
    return areBusesRefused ? nullptr : add({.name = "bus"});
}

int32_t quillon_bus_delete(void *bus)
{
    return remove(static_cast<Loop *>(bus), "bus_delete");
}

int32_t quillon_server_run(void *bus)
{
    return run(static_cast<Loop *>(bus));
}

int32_t quillon_server_stop(void *bus)
{
    return stop(static_cast<Loop *>(bus), "server_stop");
}

void *quillon_node_new(void *, const char *name, quillon_onmessage onmessage, quillon_oncall oncall,
                       void *user)
{
    std::lock_guard locked{mutex};
    record(std::string("node_new ") + name);
    if (nodeHandler) nodeHandler(name);
    return add({.name = name, .onmessage = onmessage, .oncall = oncall, .user = user});
}

int32_t quillon_node_subscribe(void *node, const char *topicsJsonArray)
{
    std::lock_guard locked{mutex};
    auto *loop = static_cast<Loop *>(node);
    record("subscribe " + loop->name);
    loop->topics = topicsJsonArray;
    return 0;
}

int32_t quillon_node_run(void *node)
{
    return run(static_cast<Loop *>(node));
}

int32_t quillon_node_stop(void *node)
{
    return stop(static_cast<Loop *>(node), "stop " + static_cast<Loop *>(node)->name);
}

int32_t quillon_node_delete(void *node)
{
    return remove(static_cast<Loop *>(node), "delete " + static_cast<Loop *>(node)->name);
}

int32_t quillon_publish(void *node, const char *topic, const void *data, uint32_t length)
{
    std::lock_guard locked{mutex};
    if (!node) return -1;
    const std::string &name = static_cast<Loop *>(node)->name;
    record("publish " + name + " " + topic);
    std::string bytes{data ? static_cast<const char *>(data) : "", data ? length : 0};
    allPublished.push_back({name, topic, bytes, data == nullptr});
    return 0;
}

const char *quillon_call(void *, const char *, const char *, uint32_t)
{
    return nullptr;
}

int32_t quillon_timer_set(void *, quillon_timer, int32_t, int32_t, void *)
{
    return -1;
}

int32_t quillon_timer_kill(void *, int32_t)
{
    return -1;
}

namespace recording
{

void reset()
{
    std::lock_guard locked{mutex};
    allCalls.clear();
    allPublished.clear();
    loops.clear();
    latestConfiguration.clear();
    areBusesRefused = false;
    nodeHandler = nullptr;
}

void refuseBuses(bool isRefusing)
{
    std::lock_guard locked{mutex};
    areBusesRefused = isRefusing;
}

void onNodeNew(std::function<void(const std::string &)> handler)
{
    std::lock_guard locked{mutex};
    nodeHandler = std::move(handler);
}

std::vector<std::string> calls()
{
    std::lock_guard locked{mutex};
    return allCalls;
}

std::vector<Publication> published()
{
    std::lock_guard locked{mutex};
    return allPublished;
}

void forgetPublished()
{
    std::lock_guard locked{mutex};
    allPublished.clear();
}

std::string busConfiguration()
{
    std::lock_guard locked{mutex};
    return latestConfiguration;
}

std::string topics(const std::string &node)
{
    return named(node)->topics;
}

void send(const std::string &node, const std::string &topic, const std::string &data)
{
    Loop *loop = named(node);
    loop->onmessage(loop->user, loop, topic.c_str(), data.c_str(),
                    static_cast<uint32_t>(data.size()));
}

void sendNull(const std::string &node, const std::string &topic)
{
    Loop *loop = named(node);
    loop->onmessage(loop->user, loop, topic.c_str(), nullptr, 0);
}

std::string call(const std::string &node, const std::string &path)
{
    Loop *loop = named(node);
    vantel::HeapText reply{loop->oncall(loop->user, loop, path.c_str(), nullptr)};
    return reply ? reply.get() : "(null)";
}

} // namespace recording
