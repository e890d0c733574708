// A bus with nodes that each run on a thread of their own, and events that tests wait for.
#pragma once

#include "contracts/quillon.h"
#include "quillon/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace bus_test
{

constexpr auto kLimit = std::chrono::seconds(60);

// Happens once; whoever waits goes on.
class Event
{
public:
    void set() { happens_.set_value(); }
    bool wait() { return happened_.wait_for(kLimit) == std::future_status::ready; }

private:
    std::promise<void> happens_;
    std::future<void> happened_ = happens_.get_future();
};

// A node whose callbacks are what the test says. Ended and deleted by its destructor.
class Peer
{
public:
    using OnMessage = std::function<void(const std::string &topic, const std::string &data)>;
    using OnCall = std::function<std::optional<std::string>(std::string path, const char *data)>;

    Peer(void *bus, const std::string &name, const std::string &topics = "[]")
        : node_(quillon_node_new(bus, name.c_str(), onMessage, onCall, this))
    {
        quillon_node_subscribe(node_, topics.c_str());
    }
    ~Peer()
    {
        join();
        deleteNode();
    }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    // Set before the loop starts. Without them messages are let go, and calls get "done".
    OnMessage message;
    OnCall answer;

    std::thread thread; // of the loop
    void run()
    {
        thread = std::thread([node = node_] { quillon_node_run(node); });
    }
    // Stops the loop and waits for its end.
    void join()
    {
        quillon_node_stop(node_);
        if (thread.joinable()) thread.join();
    }
    void deleteNode() { quillon_node_delete(std::exchange(node_, nullptr)); }
    void *node() const { return node_; }

    int32_t publish(const char *topic, const std::string &data)
    {
        return quillon_publish(node_, topic, data.data(), static_cast<uint32_t>(data.size()));
    }
    std::string call(const char *path, const std::string &data = "")
    {
        const char *reply =
            quillon_call(node_, path, data.c_str(), static_cast<uint32_t>(data.size()));
        return reply ? reply : "(null)";
    }

private:
    static int32_t onMessage(void *user, void *, const char *topic, const void *data,
                             uint32_t length)
    {
        const char *bytes = static_cast<const char *>(data);
        if (bytes) {
            EXPECT_EQ(bytes[length], '\0');
        }
        Peer *peer = static_cast<Peer *>(user);
        if (peer->message) peer->message(topic, bytes ? std::string{bytes, length} : "(null)");
        return 0;
    }
    static char *onCall(void *user, void *, const char *path, const char *data)
    {
        Peer *peer = static_cast<Peer *>(user);
        std::optional<std::string> reply = peer->answer ? peer->answer(path, data) : "done";
        if (!reply) return nullptr;
        char *copy = static_cast<char *>(std::malloc(reply->size() + 1));
        std::memcpy(copy, reply->c_str(), reply->size() + 1);
        return copy;
    }

    void *node_;
};

struct BusTest : testing::Test {
    explicit BusTest(const char *configuration = "{}") : bus_(quillon_bus_new(configuration)) {}
    ~BusTest() override
    {
        asker_.deleteNode();
        if (bus_) quillon_bus_delete(bus_);
    }

    // Waits until a running node has handled what was published before.
    void settle(const std::string &name)
    {
        EXPECT_EQ(asker_.call(("/" + name + "/barrier").c_str()), "done");
    }

    void *bus_;
    Peer asker_{bus_, "asker"};
};

} // namespace bus_test
