// Many threads at once, for the sanitizers and for the order of what arrives.
#include "tests/quillon/bus_fixture.h"

using namespace bus_test;

namespace
{

struct Stress : BusTest {
    static void countUp(void *user, void *, int32_t) { ++*static_cast<std::atomic<int> *>(user); }

    // The job on as many threads, which it knows by their numbers.
    static void together(int threadCount, const std::function<void(int)> &job)
    {
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back(job, i);
        for (auto &thread : threads)
            thread.join();
    }
};

TEST_F(Stress, EachPublishersMessagesStayInOrder)
{
    constexpr int kPublishers = 4;
    constexpr int kMessages = 5000;
    std::vector<int> last[2];
    std::atomic<int> faults{0};
    Peer subscribers[2] = {{bus_, "s0", R"(["t"])"}, {bus_, "s1", R"(["t"])"}};
    for (int i = 0; i < 2; ++i) {
        last[i].assign(kPublishers, -1);
        subscribers[i].message = [&, i](auto, const std::string &data) {
            size_t publisher = static_cast<size_t>(data[0] - '0');
            if (std::stoi(data.substr(1)) != ++last[i][publisher]) ++faults;
        };
        subscribers[i].run();
    }
    together(kPublishers, [this](int publisher) {
        Peer peer{bus_, "p" + std::to_string(publisher)};
        for (int i = 0; i < kMessages; ++i)
            peer.publish("t", std::to_string(publisher) + std::to_string(i));
        // Behind all of these in both queues.
        EXPECT_EQ(peer.call("/s0/barrier"), "done");
        EXPECT_EQ(peer.call("/s1/barrier"), "done");
    });
    EXPECT_EQ(faults, 0);
    for (const auto &numbers : last)
        EXPECT_EQ(numbers, std::vector<int>(kPublishers, kMessages - 1));
}

// A flood makes the subscriber's loop rest in other ways than asleep; from each of them a call, a
// timer and the stop must wake it.
TEST_F(Stress, AFloodDelaysNeitherCallsNorTimersNorTheStop)
{
    for (int round = 0; round < 20; ++round) {
        int heard = 0;
        std::atomic<int> expired{0};
        Peer node{bus_, "node", R"(["t"])"};
        Peer sender{bus_, "sender"};
        node.message = [&](auto, auto) { ++heard; };
        node.answer = [&](auto, auto) { return std::to_string(heard); };
        node.run();
        for (int i = 1; i <= 3000; ++i) {
            sender.publish("t", "x");
            if (i % 1000 != 0) continue;
            ASSERT_EQ(sender.call("/node/heard"), std::to_string(i));
            quillon_timer_set(node.node(), countUp, 3600 * 1000, 1, &expired);
        }
        for (int i = 0; i < 500; ++i)
            ASSERT_EQ(sender.call("/node/heard"), "3000");
        quillon_clock_advance(bus_, 3600 * 1000);
        sender.call("/node/barrier");
        EXPECT_EQ(expired, 3);
        for (int i = 0; i < 100 + round; ++i)
            sender.publish("t", "x");
        node.join();
    }
}

// Nodes come, hear and go while others publish to them and call them.
TEST_F(Stress, NodesMayBeDeletedWhileOthersPublishToThemAndCallThem)
{
    std::atomic<int> hosts{2};
    auto send = [&](const std::string &number) {
        Peer peer{bus_, "sender" + number};
        std::string large(5000, 'x');
        while (hosts > 0) {
            peer.publish("t", "small");
            peer.publish("t", large);
            std::string reply = peer.call(("/guest" + number + "/x").c_str());
            EXPECT_TRUE(reply == "done" || reply == "(null)") << reply;
        }
    };
    auto receive = [&](const std::string &number) {
        Peer host{bus_, "host" + number};
        for (int round = 0; round < 200; ++round) {
            Peer guest{bus_, "guest" + number, R"(["t","u"])"};
            EXPECT_NE(guest.node(), nullptr);
            // Every third one never runs, every fourth is deleted with its loop still running.
            if (round % 3 == 0) continue;
            guest.run();
            if (round % 4 != 0) continue;
            EXPECT_EQ(host.call(("/guest" + number + "/x").c_str()), "done");
            guest.deleteNode();
        }
        --hosts;
    };
    together(4, [&](int i) { i < 2 ? send(std::to_string(i)) : receive(std::to_string(i - 2)); });
}

TEST_F(Stress, CrossingCallsNeverHang)
{
    const char *const paths[] = {"/n0/x", "/n1/x", "/n2/x"};
    Peer peers[] = {
        {bus_, "n0", R"(["go"])"}, {bus_, "n1", R"(["go"])"}, {bus_, "n2", R"(["go"])"}};
    for (int i = 0; i < 3; ++i) {
        Peer &peer = peers[i];
        const char *next = paths[(i + 1) % 3];
        peer.message = [&peer, next](auto, auto) { peer.call(next); };
        peer.answer = [&peer, next](auto, const char *data) {
            return *data ? "deep" : peer.call(next, "once");
        };
    }
    for (Peer &peer : peers)
        peer.run();
    for (int round = 0; round < 1000; ++round)
        asker_.publish("go", "");
    for (const char *path : paths)
        EXPECT_EQ(asker_.call(path, "barrier"), "deep");
}

TEST_F(Stress, TimersAreSetAndKilledFromEverywhere)
{
    std::atomic<int> expired{0};
    std::atomic<int> kept{0};
    Peer node{bus_, "node"};
    node.run();
    together(3, [&](int) {
        for (int i = 0; i < 2000; ++i) {
            int32_t id = quillon_timer_set(node.node(), countUp, i % 7, 1, &expired);
            bool isKilled = i % 3 == 0 && quillon_timer_kill(node.node(), id) == 0;
            if (!isKilled) ++kept;
            if (i % 100 == 0) quillon_clock_advance(bus_, 1);
        }
    });
    quillon_clock_advance(bus_, 1000);
    settle("node");
    EXPECT_EQ(expired, kept);
}

} // namespace
