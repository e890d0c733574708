#include "include/vantel/vantel.h"
#include "tests/support/system.h"

#include <gtest/gtest.h>
#include <latch>
#include <map>

namespace
{

constexpr int kThreads = 8;
constexpr int kRequests = 300;

TEST(HostThreads, EightAtOnceLoseNothingAndKeepTheOrderOfEach)
{
    support::System system{
        {.params = R"({"recorder":{"mode":"external"}})",
         .topics = {"sys.localRecorder.pcm", "api.localAgent.setContextSync", "sys.vantel.error"}}};
    std::latch go{kThreads};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            go.arrive_and_wait();
            for (int i = 0; i < kRequests; ++i) {
                std::string text = std::to_string(thread) + " " + std::to_string(i);
                EXPECT_EQ(
                    vantelFeedData(system.handle(), text.data(), static_cast<int32_t>(text.size())),
                    0);
                EXPECT_EQ(vantelSetContextSync(system.handle(), text.c_str()), 0);
                EXPECT_EQ(vantelInputText(system.handle(), text.c_str()), -1);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    std::map<std::string, int> next; // by topic and thread
    std::map<std::string, int> count;
    for (const support::Message &message : system.heard()) {
        ++count[message.topic];
        if (message.topic == "sys.vantel.error") continue;
        size_t blank = message.data.find(' ');
        std::string from = message.topic + message.data.substr(0, blank);
        EXPECT_EQ(std::stoi(message.data.substr(blank)), next[from]++);
    }
    for (const char *topic :
         {"sys.localRecorder.pcm", "api.localAgent.setContextSync", "sys.vantel.error"})
        EXPECT_EQ(count[topic], kThreads * kRequests) << topic;
}

TEST(HostThreads, DeletionRightAfterCreationEndsEveryThread)
{
    vantelInit(R"({"level":6})");
    for (int i = 0; i < 50; ++i) {
        void *first = vantelNew("{}", nullptr, nullptr);
        void *second = vantelNew(R"({"vad":{},"timerClickMs":5})", nullptr, nullptr);
        vantelStartDialog(second);
        vantelDelete(first);
        vantelDelete(second);
    }
    vantelRelease();
}

} // namespace
