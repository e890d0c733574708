// Many threads at once, for the sanitizers and for the order of what arrives.
#include "tests/quillon/bus_fixture.h"

using namespace bus_test;

namespace
{

struct Stress : BusTest {
    static void together(std::vector<std::function<void()>> jobs)
    {
        std::vector<std::thread> threads;
        for (auto &job : jobs)
            threads.emplace_back(job);
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
            int publisher = data[0] - '0';
            int number = std::stoi(data.substr(1));
            if (number != last[i][static_cast<size_t>(publisher)]++ + 1) ++faults;
        };
        subscribers[i].run();
    }
    std::vector<std::function<void()>> jobs;
    for (int publisher = 0; publisher < kPublishers; ++publisher) {
        jobs.push_back([this, publisher] {
            Peer peer{bus_, "p" + std::to_string(publisher)};
            for (int i = 0; i < kMessages; ++i)
                peer.publish("t", std::to_string(publisher) + std::to_string(i));
            // Behind all of these in both queues.
            EXPECT_EQ(peer.call("/s0/barrier"), "done");
            EXPECT_EQ(peer.call("/s1/barrier"), "done");
        });
    }
    together(jobs);
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
        node.answer = [&](auto, auto) { return heapText(std::to_string(heard)); };
        node.run();
        for (int i = 1; i <= 3000; ++i) {
            sender.publish("t", "x");
            if (i % 1000 != 0) continue;
            ASSERT_EQ(sender.call("/node/heard"), std::to_string(i));
            auto onTimer = [](void *user, void *, int32_t) {
                ++*static_cast<std::atomic<int> *>(user);
            };
            quillon_timer_set(node.node(), onTimer, 3600 * 1000, 1, &expired);
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
    std::atomic<bool> isOver{false};
    std::vector<std::function<void()>> jobs;
    for (int i = 0; i < 2; ++i) {
        jobs.push_back([this, i, &isOver] {
            Peer peer{bus_, "sender" + std::to_string(i)};
            std::string large(5000, 'x');
            while (!isOver) {
                peer.publish("t", "small");
                peer.publish("t", large);
                std::string reply = peer.call(i == 0 ? "/guest0/x" : "/guest1/x");
                EXPECT_TRUE(reply == "done" || reply == "(null)") << reply;
            }
        });
    }
    std::atomic<int> guestsLeft{2};
    for (int i = 0; i < 2; ++i) {
        jobs.push_back([this, i, &isOver, &guestsLeft] {
            Peer host{bus_, "host" + std::to_string(i)};
            for (int round = 0; round < 200; ++round) {
                Peer guest{bus_, "guest" + std::to_string(i), R"(["t","u"])"};
                ASSERT_NE(guest.node(), nullptr);
                // Every third one never runs, every fourth is deleted with its loop still running.
                if (round % 3 != 0) guest.run();
                if (round % 3 != 0 && round % 4 == 0) {
                    EXPECT_EQ(host.call(("/guest" + std::to_string(i)).c_str()), "done");
                    quillon_node_delete(guest.release());
                    guest.thread().join();
                }
            }
            if (--guestsLeft == 0) isOver = true;
        });
    }
    together(jobs);
}

TEST_F(Stress, CrossingCallsNeverHang)
{
    std::vector<std::unique_ptr<Peer>> peers;
    for (int i = 0; i < 3; ++i) {
        peers.push_back(std::make_unique<Peer>(bus_, "n" + std::to_string(i), R"(["go"])"));
        Peer *peer = peers.back().get();
        std::string next = "/n" + std::to_string((i + 1) % 3) + "/x";
        peer->message = [peer, next](auto, auto) { peer->call(next.c_str()); };
        peer->answer = [peer, next](auto, const char *data) {
            return heapText(*data ? "deep" : peer->call(next.c_str(), "once"));
        };
    }
    for (auto &peer : peers)
        peer->run();
    Peer asker{bus_, "asker"};
    for (int round = 0; round < 1000; ++round)
        asker.publish("go", "");
    for (int i = 0; i < 3; ++i)
        EXPECT_NE(asker.call(("/n" + std::to_string(i) + "/x").c_str(), "barrier"), "(null)");
}

TEST_F(Stress, TimersAreSetAndKilledFromEverywhere)
{
    static std::atomic<int> expired;
    expired = 0;
    auto onTimer = [](void *, void *, int32_t) { ++expired; };
    Peer node{bus_, "node"};
    node.run();
    std::atomic<int> kept{0};
    auto job = [&] {
        for (int i = 0; i < 2000; ++i) {
            int32_t id = quillon_timer_set(node.node(), onTimer, i % 7, 1, nullptr);
            bool isKilled = i % 3 == 0 && quillon_timer_kill(node.node(), id) == 0;
            if (!isKilled) ++kept;
            if (i % 100 == 0) quillon_clock_advance(bus_, 1);
        }
    };
    together({job, job, job});
    quillon_clock_advance(bus_, 1000);
    Peer asker{bus_, "asker"};
    EXPECT_EQ(asker.call("/node/barrier"), "done");
    EXPECT_EQ(expired, kept);
}

} // namespace
