// A bus with nodes that each run on a thread of their own, and events that tests wait for.
#pragma once

#include "contracts/quillon.h"
#include "quillon/clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <functional>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace bus_test
{

constexpr auto kLimit = std::chrono::seconds(60);

// Becomes true once; whoever waits goes on.
class Event
{
public:
    void set()
    {
        std::lock_guard locked{mutex_};
        isSet_ = true;
        changed_.notify_all();
    }
    bool wait()
    {
        std::unique_lock locked{mutex_};
        return changed_.wait_for(locked, kLimit, [this] { return isSet_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool isSet_ = false;
};

inline char *heapText(const std::string &text)
{
    char *copy = static_cast<char *>(std::malloc(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

// A node whose callbacks are what the test says. Ended and deleted by its destructor.
class Peer
{
public:
    using OnMessage = std::function<void(const std::string &topic, const std::string &data)>;
    using OnCall = std::function<char *(const std::string &path, const char *data)>;

    Peer(void *bus, const std::string &name, const std::string &topics = "[]")
        : node_(quillon_node_new(bus, name.c_str(), onMessage, onCall, this))
    {
        quillon_node_subscribe(node_, topics.c_str());
    }
    ~Peer() { end(); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;

    // Set before the loop starts.
    OnMessage message;
    OnCall answer;

    Peer &run()
    {
        thread_ = std::thread([node = node_] { quillon_node_run(node); });
        return *this;
    }
    // Stops the loop and waits for its end.
    void join()
    {
        quillon_node_stop(node_);
        if (thread_.joinable()) thread_.join();
    }
    void end()
    {
        if (!node_) return;
        join();
        quillon_node_delete(node_);
        node_ = nullptr;
    }
    // For tests that delete the node themselves.
    void *release()
    {
        void *node = node_;
        node_ = nullptr;
        return node;
    }
    std::thread &thread() { return thread_; }
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
        Peer *peer = static_cast<Peer *>(user);
        if (peer->message) {
            peer->message(topic, data ? std::string{static_cast<const char *>(data), length}
                                      : std::string{"(null)"});
        }
        return 0;
    }
    static char *onCall(void *user, void *, const char *path, const char *data)
    {
        Peer *peer = static_cast<Peer *>(user);
        return peer->answer ? peer->answer(path, data) : heapText("done");
    }

    void *node_;
    std::thread thread_;
};

class BusTest : public testing::Test
{
protected:
    explicit BusTest(const char *configuration = "{}") : bus_(quillon_bus_new(configuration)) {}
    ~BusTest() override
    {
        if (bus_) quillon_bus_delete(bus_);
    }

    void *bus_;
};

} // namespace bus_test
