// One-shot timers, over the bus's own clock where time must pass.
#include "tests/quillon/bus_fixture.h"

using namespace bus_test;
using Tags = std::vector<int32_t>;

namespace
{

constexpr int32_t kHour = 3600 * 1000;

struct TimerTest : BusTest {
    TimerTest() : BusTest(R"({"timerClickMs":1})") {}

    Tags expired_;
    std::function<void(int32_t tag)> also_;
    Peer node_{bus_, "node", R"(["do"])"};

    static void onTimer(void *user, void *node, int32_t tag)
    {
        TimerTest *test = static_cast<TimerTest *>(user);
        EXPECT_EQ(node, test->node_.node());
        test->expired_.push_back(tag);
        if (test->also_) test->also_(tag);
    }
    int32_t set(int32_t milliseconds, int32_t tag)
    {
        return quillon_timer_set(node_.node(), onTimer, milliseconds, tag, this);
    }
    // What has expired once the clock has moved on.
    Tags after(int32_t milliseconds)
    {
        EXPECT_EQ(quillon_clock_advance(bus_, milliseconds), 0);
        settle("node");
        return expired_;
    }
};

TEST_F(TimerTest, ExpireOnceInTheOrderOfTheirDeadlines)
{
    set(3 * kHour / 6, 3);
    set(kHour / 6, 1);
    set(2 * kHour / 6, 2);
    set(2 * kHour / 6, 20);
    set(10 * kHour / 6, 4);
    node_.run();
    EXPECT_EQ(after(0), Tags{});
    EXPECT_EQ(after(kHour / 6), Tags{1});
    EXPECT_EQ(after(kHour / 2), (Tags{1, 2, 20, 3}));
    EXPECT_EQ(after(kHour), (Tags{1, 2, 20, 3, 4}));
    EXPECT_EQ(after(kHour), (Tags{1, 2, 20, 3, 4}));
}

TEST_F(TimerTest, IdsAreAboveZeroAndDifferentWhileLive)
{
    std::vector<int32_t> ids(5000);
    for (int i = 0; int32_t & id : ids) {
        id = set(kHour + i, i);
        ++i;
    }
    std::sort(ids.begin(), ids.end());
    EXPECT_GT(ids.front(), 0);
    EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
    for (size_t i = 0; i < ids.size(); i += 2)
        EXPECT_EQ(quillon_timer_kill(node_.node(), ids[i]), 0);
    node_.run();
    EXPECT_EQ(after(2 * kHour).size(), 2500U);
    EXPECT_TRUE(std::is_sorted(expired_.begin(), expired_.end()));
}

TEST_F(TimerTest, AKilledTimerNeverExpiresEvenWhenDue)
{
    int32_t second = 0;
    also_ = [&](int32_t tag) {
        if (tag == 1) {
            EXPECT_EQ(quillon_timer_kill(node_.node(), second), 0);
        }
    };
    int32_t first = set(0, 1);
    second = set(0, 2);
    int32_t third = set(0, 3);
    EXPECT_EQ(quillon_timer_kill(node_.node(), third), 0);
    node_.run();
    EXPECT_EQ(after(kHour), Tags{1});
    for (int32_t id : {first, second, third, 0, -1, 12345})
        EXPECT_EQ(quillon_timer_kill(node_.node(), id), -1);
}

TEST_F(TimerTest, MayBeSetAgainFromTheirCallback)
{
    also_ = [&](int32_t tag) {
        if (tag < 3) {
            EXPECT_GT(set(kHour, tag + 1), 0);
        }
    };
    set(kHour, 1);
    node_.run();
    EXPECT_EQ(after(5 * kHour), Tags{1}); // the second one counts from now
    EXPECT_EQ(after(kHour), (Tags{1, 2}));
    EXPECT_EQ(after(kHour), (Tags{1, 2, 3}));
}

TEST_F(TimerTest, WakeASleepingNodeAndExpireByThemselves)
{
    Event far, near;
    also_ = [&](int32_t tag) { (tag == 1 ? far : near).set(); };
    node_.run();
    settle("node");
    set(kHour, 1); // from outside, while the loop sleeps without a limit
    set(1, 2);     // sooner than what it sleeps for
    EXPECT_TRUE(near.wait());
    quillon_clock_advance(bus_, kHour);
    EXPECT_TRUE(far.wait());
    node_.join(); // before its callbacks' variables go
}

TEST_F(TimerTest, ANodeUnderSteadyLoadStillServesThem)
{
    Event expired;
    also_ = [&](int32_t) { expired.set(); };
    std::atomic<bool> isOver{false};
    node_.message = [&](auto, auto) {
        if (!isOver) node_.publish("do", "again");
    };
    node_.run();
    node_.publish("do", "first");
    set(1, 1);
    EXPECT_TRUE(expired.wait());
    isOver = true;
    node_.join();
}

TEST_F(TimerTest, ImpossibleOnesAreRefused)
{
    EXPECT_EQ(set(-1, 1), -1);
    EXPECT_EQ(quillon_clock_advance(bus_, -1), -1);
    node_.join();
    EXPECT_EQ(set(1, 1), -1);
}

} // namespace
