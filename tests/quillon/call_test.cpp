// Calls: replies, their order among messages, and every way in which nobody answers.
#include "tests/quillon/bus_fixture.h"

using namespace bus_test;

namespace
{

using Calls = BusTest;

TEST_F(Calls, CarryPathAndTextAndBringTheReply)
{
    Peer node{bus_, "node"};
    node.answer = [](const std::string &path, const char *data) {
        return path == "/node/null" ? std::nullopt
                                    : std::optional{path + "=" + (data ? data : "(none)")};
    };
    node.run();
    EXPECT_EQ(asker_.call("/node/verb", "text"), "/node/verb=text");
    EXPECT_EQ(asker_.call("/node"), "/node=");
    EXPECT_EQ(asker_.call("/node/null"), "(null)");
    EXPECT_STREQ(quillon_call(asker_.node(), "/node/v", nullptr, 0), "/node/v=(none)");
    // Only `length` bytes are sent, and a zero byte follows them.
    const char *reply = quillon_call(asker_.node(), "/node/v", "abcdef", 3);
    EXPECT_STREQ(reply, "/node/v=abc");
    // The reply may be the data of the next call, which ends its life.
    EXPECT_STREQ(quillon_call(asker_.node(), "/node/v", reply, 11), "/node/v=/node/v=abc");
}

TEST_F(Calls, AreAnsweredBehindTheMessagesPublishedBefore)
{
    std::string heard;
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto data) { heard += data; };
    node.answer = [&](auto, auto) { return heard; };
    node.run();
    std::string sent;
    for (int i = 0; i < 100; ++i) {
        asker_.publish("t", "m");
        asker_.publish("t", "n");
        sent += "mn";
        ASSERT_EQ(asker_.call("/node/x"), sent);
    }
}

TEST_F(Calls, WaitForANodeThatDoesNotRunYet)
{
    Peer node{bus_, "node"};
    auto reply = std::async(std::launch::async, [&] { return asker_.call("/node/x"); });
    node.run();
    EXPECT_EQ(reply.get(), "done");
}

TEST_F(Calls, ToOneselfOrToAStoppedOrDeletedNodeGiveNull)
{
    Peer node{bus_, "node", R"(["t"])"};
    node.message = [&](auto, auto) { EXPECT_EQ(node.call("/node/x"), "(null)"); };
    node.run();
    node.publish("t", "");
    settle("node");
    EXPECT_EQ(asker_.call("/asker/x"), "(null)");
    node.join();
    EXPECT_EQ(asker_.call("/node/x"), "(null)");
    EXPECT_EQ(node.call("/asker/x"), "(null)"); // a stopped node does not wait, either
    node.deleteNode();
    EXPECT_EQ(asker_.call("/node/x"), "(null)");
}

// a -> b -> c -> a, each from inside the oncall of the one before.
TEST_F(Calls, ThatWouldCloseARingGiveNull)
{
    Peer a{bus_, "a"}, b{bus_, "b"}, c{bus_, "c"};
    a.answer = [&](auto, auto) { return "a" + a.call("/b/x"); };
    b.answer = [&](auto, auto) { return "b" + b.call("/c/x"); };
    c.answer = [&](auto, auto) { return "c" + c.call("/a/x") + c.call("/b/x"); };
    a.run();
    b.run();
    c.run();
    EXPECT_EQ(asker_.call("/a/x"), "abc(null)(null)");
}

TEST_F(Calls, ThatWouldCloseARingThroughTwoBusesGiveNull)
{
    void *second = quillon_bus_new("{}");
    {
        Peer a{bus_, "a"}, b{second, "b"};
        Peer toFirst{bus_, "toFirst"}, toSecond{second, "toSecond"};
        a.answer = [&](auto, auto) { return "a" + toSecond.call("/b/x"); };
        b.answer = [&](auto, auto) { return "b" + toFirst.call("/a/x"); };
        a.run();
        b.run();
        EXPECT_EQ(asker_.call("/a/x"), "ab(null)");
    }
    quillon_bus_delete(second);
}

TEST_F(Calls, FromAThreadOutsideLeaveTheNodesLoopFreeToAnswer)
{
    Peer a{bus_, "a"}, b{bus_, "b"};
    a.answer = [](auto, auto) { return "a"; };
    b.answer = [&](auto, auto) { return "b" + b.call("/a/x"); };
    b.run();
    // Nobody would answer for a, which does not run.
    EXPECT_EQ(a.call("/b/x"), "b(null)");
    a.run();
    EXPECT_EQ(asker_.call("/a/barrier"), "a");
    EXPECT_EQ(a.call("/b/x"), "ba");
}

// A reply is its thread's, whoever else calls on the same handle, and until that thread calls
// again.
TEST_F(Calls, OfSeveralThreadsOnOneHandleKeepTheirReplies)
{
    Peer node{bus_, "node"};
    node.answer = [](auto, const char *data) { return data; };
    node.run();
    const std::string mine(100, 'm');
    const char *reply = quillon_call(asker_.node(), "/node/x", mine.c_str(), 100);
    std::vector<std::thread> others;
    for (const char *text : {"one", "three"}) {
        others.emplace_back([&, text] {
            for (int i = 0; i < 500; ++i)
                ASSERT_EQ(asker_.call("/node/x", text), text);
        });
    }
    for (std::thread &other : others)
        other.join();
    EXPECT_EQ(reply, mine);
    asker_.deleteNode();
    EXPECT_EQ(reply, mine);
}

// How a caller that waits is released; each way stops or deletes somebody.
struct Waiting : BusTest {
    Event entered_, leave_;
    Peer callee_{bus_, "callee", R"(["t"])"};

    void enterAndLeave()
    {
        entered_.set();
        leave_.wait();
    }
    // A call that nobody answers for now.
    std::future<std::string> callInBackground()
    {
        auto reply = std::async(std::launch::async, [this] { return asker_.call("/callee/x"); });
        EXPECT_EQ(reply.wait_for(std::chrono::milliseconds(10)), std::future_status::timeout);
        return reply;
    }
    void TearDown() override { leave_.set(); }
};

TEST_F(Waiting, EndsWhenTheCalleeStopsBeforeItAnswers)
{
    callee_.answer = [this](auto, auto) {
        enterAndLeave();
        return "too late";
    };
    callee_.run();
    auto reply = callInBackground();
    ASSERT_TRUE(entered_.wait());
    quillon_node_stop(callee_.node());
    EXPECT_EQ(reply.get(), "(null)");
}

TEST_F(Waiting, EndsWhenTheCalleeStopsWhileTheCallIsQueued)
{
    callee_.message = [this](auto, auto) { enterAndLeave(); };
    callee_.run();
    callee_.publish("t", "");
    ASSERT_TRUE(entered_.wait());
    auto reply = callInBackground();
    quillon_node_stop(callee_.node());
    EXPECT_EQ(reply.get(), "(null)");
}

TEST_F(Waiting, EndsWhenTheCalleeIsDeletedWithoutEverRunning)
{
    auto reply = callInBackground();
    callee_.deleteNode();
    EXPECT_EQ(reply.get(), "(null)");
}

TEST_F(Waiting, EndsWhenTheCallerStops)
{
    Peer caller{bus_, "caller", R"(["go"])"};
    caller.message = [&](auto, auto) {
        entered_.set();
        EXPECT_EQ(caller.call("/callee/x"), "(null)");
    };
    caller.run();
    asker_.publish("go", "");
    ASSERT_TRUE(entered_.wait());
    caller.join(); // the callee never runs
}

TEST_F(Waiting, BringsTheReplyOfACalleeThatStopsItself)
{
    callee_.answer = [this](auto, auto) {
        quillon_node_stop(callee_.node());
        return "last words";
    };
    callee_.run();
    EXPECT_EQ(asker_.call("/callee/x"), "last words");
    EXPECT_EQ(asker_.call("/callee/x"), "(null)");
}

TEST_F(Waiting, EndsWhenTheCallersOwnCalleeDeletesIt)
{
    Peer caller{bus_, "caller", R"(["go"])"};
    caller.message = [&](auto, auto) { EXPECT_EQ(caller.call("/callee/x"), "(null)"); };
    callee_.answer = [&](auto, auto) {
        caller.deleteNode();
        return "unheard";
    };
    callee_.run();
    caller.run();
    asker_.publish("go", "");
    caller.thread.join();
}

} // namespace
