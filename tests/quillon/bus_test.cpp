// Nodes, publications and refusals.
#include "tests/quillon/bus_fixture.h"

#include "platform/platform.h"

#include <filesystem>
#include <fstream>
#include <iterator>

using namespace bus_test;
using Texts = std::vector<std::string>;

namespace
{

struct Publications : BusTest {
};

TEST_F(Publications, ReachEverySubscriberInOrderThePublisherIncluded)
{
    Texts heard[2];
    Peer one{bus_, "one", R"(["a","b"])"};
    Peer two{bus_, "two", R"(["b"])"};
    one.message = [&](auto topic, auto data) { heard[0].push_back(topic + data); };
    two.message = [&](auto topic, auto data) { heard[1].push_back(topic + data); };
    EXPECT_EQ(quillon_node_subscribe(two.node(), R"(["c","b"])"), 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(one.publish("a", std::to_string(i)), 0);
        EXPECT_EQ(one.publish("b", std::to_string(i)), 0);
        EXPECT_EQ(one.publish("c", std::to_string(i)), 0);
        EXPECT_EQ(one.publish("nobody", std::to_string(i)), 0);
    }
    Peer asker{bus_, "asker"};
    one.run();
    two.run();
    EXPECT_EQ(asker.call("/one/barrier"), "done");
    EXPECT_EQ(asker.call("/two/barrier"), "done");
    EXPECT_EQ(heard[0], (Texts{"a0", "b0", "a1", "b1", "a2", "b2"}));
    EXPECT_EQ(heard[1], (Texts{"b0", "c0", "b1", "c1", "b2", "c2"}));
}

struct Raw {
    std::vector<std::pair<bool, std::string>> heard; // with the byte after the payload
};

int32_t recordRaw(void *user, void *, const char *, const void *data, uint32_t length)
{
    const char *bytes = static_cast<const char *>(data);
    static_cast<Raw *>(user)->heard.emplace_back(data != nullptr,
                                                 data ? std::string{bytes, length + 1} : "");
    return 0;
}

TEST_F(Publications, AreCopiedWithAZeroByteBehindAndNullStaysNull)
{
    Raw raw;
    void *node = quillon_node_new(bus_, "raw", recordRaw, nullptr, &raw);
    quillon_node_subscribe(node, R"(["t"])");
    std::string data{"x\0y", 3};
    quillon_publish(node, "t", data.data(), 3);
    data = "zzz";
    quillon_publish(node, "t", "", 0);
    quillon_publish(node, "t", nullptr, 0);
    std::thread thread{[node] { quillon_node_run(node); }};
    Peer asker{bus_, "asker"};
    EXPECT_EQ(asker.call("/raw/barrier"), "(null)"); // no oncall
    quillon_node_stop(node);
    thread.join();
    EXPECT_EQ(quillon_node_delete(node), 0);
    ASSERT_EQ(raw.heard.size(), 3U);
    EXPECT_EQ(raw.heard[0], std::make_pair(true, std::string("x\0y\0", 4)));
    EXPECT_EQ(raw.heard[1], std::make_pair(true, std::string(1, '\0')));
    EXPECT_FALSE(raw.heard[2].first);
}

TEST_F(Publications, FromInsideACallbackComeAfterIt)
{
    Texts heard;
    Event done;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto data) {
        heard.push_back("begin " + data);
        if (data == "0") node.publish("t", "1");
        heard.push_back("end " + data);
        if (data == "1") done.set();
    };
    node.run();
    node.publish("t", "0");
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(heard, (Texts{"begin 0", "end 0", "begin 1", "end 1"}));
}

struct Stopping : BusTest {
};

TEST_F(Stopping, IsStickyAndDropsWhatIsQueued)
{
    int heard = 0;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) { ++heard; };
    node.publish("t", "lost");
    EXPECT_EQ(quillon_node_stop(node.node()), 0);
    EXPECT_EQ(quillon_node_stop(node.node()), 0);
    EXPECT_EQ(node.publish("t", "lost"), 0);
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_EQ(heard, 0);
    EXPECT_EQ(quillon_server_stop(bus_), 0);
    EXPECT_EQ(quillon_server_run(bus_), 0);
}

TEST_F(Stopping, EndsASleepingLoopAndTheServerLoop)
{
    std::promise<void> nodeEnded, serverEnded;
    Peer node{bus_, "node"};
    std::thread loop{[&] {
        quillon_node_run(node.node());
        nodeEnded.set_value();
    }};
    std::thread server{[&] {
        quillon_server_run(bus_);
        serverEnded.set_value();
    }};
    Peer asker{bus_, "asker"};
    EXPECT_EQ(asker.call("/node/barrier"), "done");
    quillon_node_stop(node.node());
    quillon_server_stop(bus_);
    EXPECT_EQ(nodeEnded.get_future().wait_for(kLimit), std::future_status::ready);
    EXPECT_EQ(serverEnded.get_future().wait_for(kLimit), std::future_status::ready);
    loop.join();
    server.join();
}

TEST_F(Stopping, FromACallbackEndsTheLoopAfterIt)
{
    int heard = 0;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) {
        ++heard;
        quillon_node_stop(node.node());
    };
    node.publish("t", "1");
    node.publish("t", "2");
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_EQ(heard, 1);
}

TEST_F(Stopping, ARunningLoopIsNotEnteredTwice)
{
    int32_t second = 0;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) {
        second = quillon_node_run(node.node());
        quillon_node_stop(node.node());
    };
    node.publish("t", "");
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_EQ(second, -1);
}

struct Deleting : BusTest {
};

TEST_F(Deleting, FreesTheNameAndTheSubscriptions)
{
    for (int i = 0; i < 3; ++i) {
        Peer node{bus_, "node", R"(["t"])"};
        ASSERT_NE(node.node(), nullptr);
        EXPECT_EQ(quillon_node_new(bus_, "node", nullptr, nullptr, nullptr), nullptr);
        node.publish("t", "dropped");
    }
    Peer other{bus_, "other"};
    EXPECT_EQ(other.publish("t", "nobody"), 0);
    EXPECT_EQ(other.call("/node/x"), "(null)");
}

TEST_F(Deleting, FromInsideTheNodesOwnCallbackWorks)
{
    auto node = std::make_unique<Peer>(bus_, "node", R"(["t"])");
    node->message = [&](auto, auto) {
        quillon_node_delete(node->node());
        // The handle is good until the callback ends.
        EXPECT_EQ(node->publish("t", "lost"), 0);
    };
    node->publish("t", "");
    EXPECT_EQ(quillon_node_run(node->node()), 0);
    node->release();
    Peer again{bus_, "node"};
    EXPECT_NE(again.node(), nullptr);
}

TEST_F(Deleting, ARunningNodeStopsItAndWaitsForItsLoop)
{
    Event entered, leave;
    std::atomic<bool> left{false};
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) {
        entered.set();
        leave.wait();
        left = true;
    };
    node.run();
    node.publish("t", "");
    ASSERT_TRUE(entered.wait());
    auto deleted = std::async(std::launch::async, [handle = node.release(), &left] {
        quillon_node_delete(handle);
        return left.load();
    });
    leave.set();
    EXPECT_TRUE(deleted.get());
    node.thread().join();
}

TEST_F(Deleting, TheBusFirstStopsTheNodesThatAreLeft)
{
    Peer running{bus_, "running"};
    Peer idle{bus_, "idle"};
    running.run();
    EXPECT_EQ(quillon_bus_delete(bus_), 0);
    bus_ = nullptr;
    running.thread().join();
    EXPECT_EQ(idle.publish("t", ""), 0);
    EXPECT_EQ(idle.call("/running/x"), "(null)");
    // The peers' own destructors delete them after their bus.
}

struct Refusals : BusTest {
};

TEST_F(Refusals, OfNullHandlesGiveMinusOneOrNull)
{
    EXPECT_EQ(quillon_bus_delete(nullptr), -1);
    EXPECT_EQ(quillon_server_run(nullptr), -1);
    EXPECT_EQ(quillon_server_stop(nullptr), -1);
    EXPECT_EQ(quillon_node_new(nullptr, "n", nullptr, nullptr, nullptr), nullptr);
    EXPECT_EQ(quillon_node_subscribe(nullptr, "[]"), -1);
    EXPECT_EQ(quillon_node_run(nullptr), -1);
    EXPECT_EQ(quillon_node_stop(nullptr), -1);
    EXPECT_EQ(quillon_node_delete(nullptr), -1);
    EXPECT_EQ(quillon_publish(nullptr, "t", "", 0), -1);
    EXPECT_EQ(quillon_call(nullptr, "/n/x", "", 0), nullptr);
    EXPECT_EQ(quillon_timer_set(nullptr, nullptr, 1, 1, nullptr), -1);
    EXPECT_EQ(quillon_timer_kill(nullptr, 1), -1);
    EXPECT_EQ(quillon_clock_advance(nullptr, 1), -1);
}

TEST_F(Refusals, OfBusConfigurations)
{
    for (const char *bad : {"", "nonsense", "[]", "3", "{\"level\":"})
        EXPECT_EQ(quillon_bus_new(bad), nullptr) << bad;
    EXPECT_EQ(quillon_bus_new(nullptr), nullptr);
}

// What a call writes to the log of a bus that has one.
class Logged : public testing::Test
{
protected:
    std::string lines(const std::string &level, const std::function<void(void *bus)> &body)
    {
        auto path = std::filesystem::temp_directory_path() /
                    ("quillon-" + std::to_string(vantel::platformProcessId()) + ".log");
        std::string configuration =
            R"({"path":")" + path.generic_string() + R"(","level":)" + level + "}";
        void *bus = quillon_bus_new(configuration.c_str());
        body(bus);
        quillon_bus_delete(bus);
        std::string text;
        {
            std::ifstream file{path, std::ios::binary};
            text.assign(std::istreambuf_iterator<char>{file}, {});
        }
        std::filesystem::remove(path);
        return text;
    }
};

TEST_F(Logged, RefusalsNameWhatWasWrong)
{
    void *node = nullptr;
    std::string log = lines("4", [&](void *bus) {
        node = quillon_node_new(bus, "node", nullptr, nullptr, nullptr);
        EXPECT_EQ(quillon_node_new(bus, nullptr, nullptr, nullptr, nullptr), nullptr);
        EXPECT_EQ(quillon_node_new(bus, "", nullptr, nullptr, nullptr), nullptr);
        EXPECT_EQ(quillon_node_new(bus, "no/de", nullptr, nullptr, nullptr), nullptr);
        EXPECT_EQ(quillon_node_new(bus, "node", nullptr, nullptr, nullptr), nullptr);
        for (const char *bad : {"", "{}", "[1]", "[\"a\",null]", "[\"\"]", "[\"a\""})
            EXPECT_EQ(quillon_node_subscribe(node, bad), -1) << bad;
        EXPECT_EQ(quillon_node_subscribe(node, nullptr), -1);
        EXPECT_EQ(quillon_publish(node, nullptr, "", 0), -1);
        EXPECT_EQ(quillon_publish(node, "t", nullptr, 1), -1);
        EXPECT_EQ(quillon_publish(node, "t", "", 0x80000000U), -1);
        EXPECT_EQ(quillon_call(node, nullptr, "", 0), nullptr);
        EXPECT_EQ(quillon_call(node, "/x/y", nullptr, 1), nullptr);
        EXPECT_EQ(quillon_call(node, "/x/y", "", 0xffffffffU), nullptr);
        for (const char *bad : {"", "/", "//verb", "node/verb", "verb", "/absent/verb"})
            EXPECT_EQ(quillon_call(node, bad, "", 0), nullptr) << bad;
        EXPECT_EQ(quillon_timer_set(node, nullptr, 1, 1, nullptr), -1);
        EXPECT_EQ(quillon_node_delete(node), 0);
    });
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 24) << log;
    EXPECT_NE(log.find("[W] quillon/node#"), std::string::npos);
    EXPECT_NE(log.find("  quillon node cannot call /absent/verb: there is no such node\n"),
              std::string::npos)
        << log;
}

TEST_F(Logged, TheDebugLevelShowsNodesSubscriptionsAndLongQueues)
{
    auto body = [](void *bus) {
        Peer node{bus, "node", R"(["topic"])"};
        for (int i = 0; i < 5000; ++i)
            node.publish("topic", "");
        Peer asker{bus, "asker"};
        node.run();
        asker.call("/node/barrier");
    };
    std::string debug = lines("2", body);
    EXPECT_NE(debug.find("  quillon node node\n"), std::string::npos) << debug;
    EXPECT_NE(debug.find("  quillon node subscribes to topic\n"), std::string::npos) << debug;
    EXPECT_NE(debug.find("  quillon queue of node grew to "), std::string::npos) << debug;
    EXPECT_EQ(lines("5", body), "");
}

} // namespace
