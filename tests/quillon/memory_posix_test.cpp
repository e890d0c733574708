// What a bus keeps of what is gone. The C library tells how much is in use, which it cannot under a
// sanitizer's allocator.
#include "tests/quillon/bus_fixture.h"

#include <malloc.h>

using namespace bus_test;

namespace
{

struct Memory : BusTest {
    // Bytes by which the memory in use grows.
    static int64_t growth(const std::function<void()> &action)
    {
        size_t before = mallinfo2().uordblks;
        action();
        return static_cast<int64_t>(mallinfo2().uordblks) - static_cast<int64_t>(before);
    }
    // A node comes, hears on topics that nobody else has, and goes.
    void visit(int number)
    {
        std::string topics = R"(["shared")";
        for (int i = 0; i < 10; ++i)
            topics += ",\"visit." + std::to_string(number) + "." + std::to_string(i) + "\"";
        Peer visitor{bus_, "visitor", topics + "]"};
        visitor.message = [this](const std::string &topic, auto) { heard_ = topic; };
        visitor.run();
        std::string topic = "visit." + std::to_string(number) + ".7";
        asker_.publish(topic.c_str(), "");
        settle("visitor");
        EXPECT_EQ(heard_, topic);
    }
    std::string heard_;
};

TEST_F(Memory, OfTopicsGoesWithTheirLastNode)
{
    Peer resident{bus_, "resident", R"(["shared"])"};
    for (int i = 0; i < 100; ++i)
        visit(i);
    // One topic took 200 bytes.
    EXPECT_LT(growth([this] {
                  for (int i = 100; i < 600; ++i)
                      visit(i);
              }),
              200000);
    resident.message = [this](auto, auto data) { heard_ = data; };
    resident.run();
    asker_.publish("shared", "still heard");
    settle("resident");
    EXPECT_EQ(heard_, "still heard");
}

TEST_F(Memory, OfRepliesGoesWithTheirThreads)
{
    Peer node{bus_, "node"};
    node.answer = [](auto, auto) { return std::string(10000, 'x'); };
    node.run();
    auto threads = [this](int count) {
        for (int i = 0; i < count; ++i)
            std::thread{[this] { EXPECT_EQ(asker_.call("/node/x").size(), 10000U); }}.join();
    };
    threads(2);
    EXPECT_LT(growth([&] { threads(100); }), 200000);
}

} // namespace
