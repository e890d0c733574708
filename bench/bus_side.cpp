#include "bench/sides.h"

#include "contracts/quillon.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <semaphore>
#include <string>
#include <thread>

namespace bench::bus_side
{
namespace
{

struct Bus {
    Bus() : handle(quillon_bus_new(R"({"timerClickMs":1})")) {}
    ~Bus() { quillon_bus_delete(handle); }
    void *handle;
};

// A node, with a loop of its own unless it only sends.
class Node
{
public:
    Node(const Bus &bus, const std::string &name, quillon_onmessage onmessage = nullptr,
         quillon_oncall oncall = nullptr, void *user = nullptr)
        : handle(quillon_node_new(bus.handle, name.c_str(), onmessage, oncall, user))
    {
        quillon_node_subscribe(handle, onmessage ? R"(["topic"])" : "[]");
    }
    ~Node()
    {
        quillon_node_stop(handle);
        if (thread_.joinable()) thread_.join();
        quillon_node_delete(handle);
    }
    Node(const Node &) = delete;
    Node &operator=(const Node &) = delete;

    void run()
    {
        thread_ = std::thread([this] { quillon_node_run(handle); });
    }

    void *handle;

private:
    std::thread thread_;
};

char *answer(void *, void *, const char *, const char *)
{
    char *reply = static_cast<char *>(std::malloc(6));
    std::memcpy(reply, "reply", 6);
    return reply;
}

// Counts messages up to a number, then tells.
struct Counter {
    int left;
    std::binary_semaphore *done;
};

int32_t count(void *user, void *, const char *, const void *, uint32_t)
{
    Counter *counter = static_cast<Counter *>(user);
    if (--counter->left == 0) counter->done->release();
    return 0;
}

} // namespace

double oneWayP50(int messages)
{
    std::vector<double> latencies;
    auto onMessage = [](void *user, void *, const char *, const void *data, uint32_t) {
        int64_t sent;
        std::memcpy(&sent, data, sizeof sent);
        static_cast<std::vector<double> *>(user)->push_back(static_cast<double>(nowNs() - sent));
        return 0;
    };
    latencies.reserve(static_cast<size_t>(messages));
    {
        Bus bus;
        Node subscriber{bus, "subscriber", onMessage, answer, &latencies};
        Node publisher{bus, "publisher"};
        subscriber.run();
        std::vector<char> payload(kSmallBytes);
        int64_t next = nowNs();
        for (int i = 0; i < messages; ++i) {
            sleepUntilNs(next += kPaceNs);
            int64_t sent = nowNs();
            std::memcpy(payload.data(), &sent, sizeof sent);
            quillon_publish(publisher.handle, "topic", payload.data(), kSmallBytes);
        }
        quillon_call(publisher.handle, "/subscriber/barrier", nullptr, 0);
    }
    return median(latencies);
}

Cost flood(size_t bytes, int messages, int subscribers)
{
    std::binary_semaphore done{0};
    std::vector<Counter> counters(static_cast<size_t>(subscribers), {messages, &done});
    Bus bus;
    std::vector<std::unique_ptr<Node>> nodes;
    for (Counter &counter : counters) {
        std::string name = "subscriber" + std::to_string(nodes.size());
        nodes.push_back(std::make_unique<Node>(bus, name, count, answer, &counter));
        nodes.back()->run();
    }
    Node publisher{bus, "publisher"};
    for (size_t i = 0; i < nodes.size(); ++i) {
        std::string path = "/subscriber" + std::to_string(i) + "/barrier";
        quillon_call(publisher.handle, path.c_str(), nullptr, 0);
    }
    std::vector<char> payload(bytes);
    int64_t wall = nowNs();
    int64_t cpu = cpuNs();
    for (int i = 0; i < messages; ++i)
        quillon_publish(publisher.handle, "topic", payload.data(), static_cast<uint32_t>(bytes));
    for (int i = 0; i < subscribers; ++i)
        done.acquire();
    double deliveries = static_cast<double>(messages) * subscribers;
    return {static_cast<double>(nowNs() - wall) / deliveries,
            static_cast<double>(cpuNs() - cpu) / deliveries};
}

double callP50(int calls)
{
    Bus bus;
    Node callee{bus, "callee", nullptr, answer};
    Node caller{bus, "caller"};
    callee.run();
    std::vector<double> times;
    for (int i = 0; i < calls; ++i) {
        int64_t start = nowNs();
        quillon_call(caller.handle, "/callee/verb", "request", 7);
        times.push_back(static_cast<double>(nowNs() - start));
    }
    return median(times);
}

double timerErrorP50(int timers)
{
    struct State {
        std::vector<int64_t> due; // by tag
        std::vector<double> errors;
    } state;
    auto onTimer = [](void *user, void *, int32_t tag) {
        State *timer = static_cast<State *>(user);
        int64_t error = nowNs() - timer->due[static_cast<size_t>(tag)];
        timer->errors.push_back(static_cast<double>(std::abs(error)));
    };
    static quillon_timer expired;
    expired = onTimer;
    auto onMessage = [](void *user, void *node, const char *, const void *, uint32_t) {
        State *timer = static_cast<State *>(user);
        int32_t tag = static_cast<int32_t>(timer->due.size());
        int milliseconds = kTimerMs[tag % 2];
        timer->due.push_back(nowNs() + milliseconds * 1000000LL);
        return quillon_timer_set(node, expired, milliseconds, tag, user) > 0 ? 0 : -1;
    };
    {
        Bus bus;
        Node node{bus, "node", onMessage, answer, &state};
        Node publisher{bus, "publisher"};
        node.run();
        for (int i = 0; i < timers; ++i) {
            quillon_publish(publisher.handle, "topic", nullptr, 0);
            sleepUntilNs(nowNs() + kTimerPaceNs);
        }
        sleepUntilNs(nowNs() + 60000000);
    }
    return median(state.errors);
}

double idleWakeUps()
{
    Bus bus;
    std::vector<std::unique_ptr<Node>> nodes;
    Node asker{bus, "asker"};
    for (int i = 0; i < 4; ++i) {
        std::string name = "node" + std::to_string(i);
        nodes.push_back(std::make_unique<Node>(bus, name, nullptr, answer));
        nodes.back()->run();
        quillon_call(asker.handle, ("/" + name).c_str(), nullptr, 0);
    }
    quillon_timer_set(
        nodes[0]->handle, [](void *, void *, int32_t) {}, 3600 * 1000, 1, nullptr);
    sleepUntilNs(nowNs() + 100000000);
    int64_t before = wakeUpsOfOthers();
    sleepUntilNs(nowNs() + 1000000000);
    return static_cast<double>(wakeUpsOfOthers() - before);
}

Cost unheard(int messages)
{
    Bus bus;
    Node subscriber{bus, "subscriber", count};
    Node publisher{bus, "publisher"};
    char payload[kSmallBytes] = {};
    int64_t wall = nowNs();
    int64_t cpu = cpuNs();
    for (int i = 0; i < messages; ++i)
        quillon_publish(publisher.handle, "sys.nobody.hears", payload, kSmallBytes);
    return {static_cast<double>(nowNs() - wall) / messages,
            static_cast<double>(cpuNs() - cpu) / messages};
}

} // namespace bench::bus_side
