// Nodes, publications and refusals.
#include "tests/quillon/bus_fixture.h"
#include "tests/support/folder.h"

using namespace bus_test;
using Texts = std::vector<std::string>;

namespace
{

using Publications = BusTest;

TEST_F(Publications, ReachEverySubscriberInOrderThePublisherIncluded)
{
    Texts heard[2];
    Peer one{bus_, "one", R"(["a","b"])"};
    Peer two{bus_, "two", R"(["b"])"};
    one.message = [&](auto topic, auto data) { heard[0].push_back(topic + data); };
    two.message = [&](auto topic, auto data) { heard[1].push_back(topic + data); };
    EXPECT_EQ(quillon_node_subscribe(two.node(), R"(["c","b"])"), 0);
    for (const char *number : {"0", "1", "2"})
        for (const char *topic : {"a", "b", "c", "nobody"})
            EXPECT_EQ(one.publish(topic, number), 0);
    one.run();
    two.run();
    settle("one");
    settle("two");
    EXPECT_EQ(heard[0], (Texts{"a0", "b0", "a1", "b1", "a2", "b2"}));
    EXPECT_EQ(heard[1], (Texts{"b0", "c0", "b1", "c1", "b2", "c2"}));
}

TEST_F(Publications, FindTheirSubscriberAmongManyTopics)
{
    Texts heard, topics;
    Peer node{bus_, "node"};
    node.message = [&](auto topic, auto) { heard.push_back(topic); };
    for (int i = 0; i < 100; ++i) {
        topics.push_back("some.long.topic." + std::to_string(i));
        quillon_node_subscribe(node.node(), (R"([")" + topics.back() + R"("])").c_str());
    }
    for (const std::string &topic : topics)
        asker_.publish(topic.c_str(), "");
    node.run();
    settle("node");
    EXPECT_EQ(heard, topics);
}

TEST_F(Publications, AreCopiedAndNullStaysNull)
{
    Texts heard;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto data) { heard.push_back(data); };
    std::string data{"x\0y", 3};
    node.publish("t", data);
    quillon_publish(node.node(), "t", data.data(), 1);
    data = "zzz";
    node.publish("t", "");
    quillon_publish(node.node(), "t", nullptr, 0);
    node.run();
    settle("node");
    EXPECT_EQ(heard, (Texts{std::string("x\0y", 3), "x", "", "(null)"}));
}

TEST_F(Publications, ToANodeWithoutCallbacksAreLetGoAndItsCallsGiveNull)
{
    void *node = quillon_node_new(bus_, "mute", nullptr, nullptr, nullptr);
    quillon_node_subscribe(node, R"(["t"])");
    asker_.publish("t", "unheard");
    std::thread thread{[node] { quillon_node_run(node); }};
    EXPECT_EQ(asker_.call("/mute/x"), "(null)");
    quillon_node_stop(node);
    thread.join();
    EXPECT_EQ(quillon_node_delete(node), 0);
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

using Stopping = BusTest;

TEST_F(Stopping, IsStickyAndDropsWhatIsQueued)
{
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [](auto, auto data) { ADD_FAILURE() << data; };
    node.publish("t", "lost");
    EXPECT_EQ(quillon_node_stop(node.node()), 0);
    EXPECT_EQ(quillon_node_stop(node.node()), 0);
    EXPECT_EQ(node.publish("t", "lost"), 0);
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_EQ(quillon_server_stop(bus_), 0);
    EXPECT_EQ(quillon_server_run(bus_), 0);
}

TEST_F(Stopping, EndsASleepingLoopAndTheServerLoop)
{
    Peer node{bus_, "node"};
    std::thread server{[this] { EXPECT_EQ(quillon_server_run(bus_), 0); }};
    node.run();
    settle("node");
    node.join();
    quillon_server_stop(bus_);
    server.join();
}

TEST_F(Stopping, FromACallbackEndsTheLoopAfterItAndARunningLoopIsNotEnteredTwice)
{
    int heard = 0;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) {
        ++heard;
        EXPECT_EQ(quillon_node_run(node.node()), -1);
        quillon_node_stop(node.node());
    };
    node.publish("t", "1");
    node.publish("t", "2");
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_EQ(heard, 1);
}

using Deleting = BusTest;

TEST_F(Deleting, FreesTheNameAndTheSubscriptions)
{
    for (int i = 0; i < 3; ++i) {
        Peer node{bus_, "node", R"(["t"])"};
        ASSERT_NE(node.node(), nullptr);
        EXPECT_EQ(quillon_node_new(bus_, "node", nullptr, nullptr, nullptr), nullptr);
        node.publish("t", "dropped");
    }
    EXPECT_EQ(asker_.publish("t", "nobody"), 0);
    EXPECT_EQ(asker_.call("/node/x"), "(null)");
}

TEST_F(Deleting, FromInsideTheNodesOwnCallbackWorks)
{
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) {
        void *handle = node.node();
        node.deleteNode();
        // The handle is good until the callback ends.
        EXPECT_EQ(quillon_publish(handle, "t", "lost", 4), 0);
    };
    node.publish("t", "");
    EXPECT_EQ(quillon_node_run(node.node()), 0);
    EXPECT_NE((Peer{bus_, "node"}.node()), nullptr);
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
    std::thread deleter{[&] {
        node.deleteNode();
        EXPECT_TRUE(left);
    }};
    leave.set();
    deleter.join();
}

TEST_F(Deleting, TheBusFirstStopsTheNodesThatAreLeft)
{
    Peer running{bus_, "running"};
    running.run();
    EXPECT_EQ(quillon_bus_delete(bus_), 0);
    bus_ = nullptr;
    running.thread.join();
    EXPECT_EQ(asker_.publish("t", ""), 0);
    EXPECT_EQ(asker_.call("/running/x"), "(null)");
    // The peers' own destructors delete them after their bus.
}

constexpr const char *kNull = nullptr;

TEST(Refusals, OfNullHandlesGiveMinusOneOrNull)
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

TEST(Refusals, OfBusConfigurations)
{
    for (const char *bad : {kNull, "", "nonsense", "[]", "3", R"({"level":)"})
        EXPECT_EQ(quillon_bus_new(bad), nullptr) << bad;
}

TEST(Refusals, AreLoggedWithWhatWasWrong)
{
    Folder folder;
    std::string logged = R"({"level":4,"path":")" + folder / "log" + "\"}";
    void *bus = quillon_bus_new(logged.c_str());
    void *node = quillon_node_new(bus, "node", nullptr, nullptr, nullptr);
    for (const char *bad : {kNull, "", "no/de", "node"})
        EXPECT_EQ(quillon_node_new(bus, bad, nullptr, nullptr, nullptr), nullptr) << bad;
    for (const char *bad : {kNull, "", "{}", "[1]", R"(["a",null])", R"([""])", R"(["a")"})
        EXPECT_EQ(quillon_node_subscribe(node, bad), -1) << bad;
    EXPECT_EQ(quillon_publish(node, nullptr, "", 0), -1);
    EXPECT_EQ(quillon_publish(node, "t", nullptr, 1), -1);
    EXPECT_EQ(quillon_publish(node, "t", "", 0x80000000U), -1);
    EXPECT_EQ(quillon_call(node, "/x/y", nullptr, 1), nullptr);
    EXPECT_EQ(quillon_call(node, "/x/y", "", 0xffffffffU), nullptr);
    for (const char *bad : {kNull, "", "/", "//verb", "node/verb", "verb", "/absent/verb"})
        EXPECT_EQ(quillon_call(node, bad, "", 0), nullptr) << bad;
    EXPECT_EQ(quillon_timer_set(node, nullptr, 1, 1, nullptr), -1);
    EXPECT_EQ(quillon_node_delete(node), 0);
    quillon_bus_delete(bus);
    std::string log = folder.read("log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 24) << log;
    EXPECT_NE(log.find("[W] quillon/node#"), std::string::npos);
    EXPECT_NE(log.find("  quillon node cannot call /absent/verb: there is no such node\n"),
              std::string::npos)
        << log;
}

// Each with a level of its own, and no line of a message looks like one of the log's.
TEST(BusLogs, OfOnePathShareTheFile)
{
    Folder folder;
    auto bus = [&](int level) {
        return quillon_bus_new(
            (R"({"level":)" + std::to_string(level) + R"(,"path":")" + folder / "log" + "\"}")
                .c_str());
    };
    auto complain = [](void *to, const std::string &name) {
        EXPECT_FALSE(quillon_node_new(to, (name + "/").c_str(), nullptr, nullptr, nullptr));
    };
    void *first = bus(4);
    complain(first, "a\n[00001:00002] forged");
    void *second = bus(5);
    complain(second, "too low a level");
    void *third = bus(4);
    complain(third, "b");
    quillon_bus_delete(first);
    complain(third, "c");
    quillon_bus_delete(second);
    quillon_bus_delete(third);
    std::string log = folder.read("log");
    EXPECT_EQ(std::count(log.begin(), log.end(), '\n'), 3) << log;
    for (const char *name : {"a?[00001:00002] forged/\n", "b/\n", "c/\n"})
        EXPECT_NE(log.find(std::string("node name refused: ") + name), std::string::npos) << log;
    quillon_bus_delete(bus(4)); // nobody has it open any more: it starts afresh
    EXPECT_EQ(folder.read("log"), "");
}

} // namespace
