#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#include "src/node/instance.h"

#include <gtest/gtest.h>
#include <latch>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int kThreads = 8;
constexpr int kRequests = 300;
const char kTopics[] =
    R"(["sys.localRecorder.pcm","api.localAgent.setContextSync","sys.vantel.error"])";

// What an outside node of the instance's bus heard.
struct Heard {
    std::map<std::string, int> counts; // by topic
    std::map<std::string, int> next;   // by topic and thread
};

int32_t hear(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    auto *heard = static_cast<Heard *>(user);
    ++heard->counts[topic];
    if (topic == std::string("sys.vantel.error")) return 0;
    const std::string text{static_cast<const char *>(data), length};
    const size_t blank = text.find(' ');
    EXPECT_EQ(std::stoi(text.substr(blank)), heard->next[topic + text.substr(0, blank)]++);
    return 0;
}

TEST(HostThreads, EightAtOnceLoseNothingAndKeepTheOrderOfEach)
{
    vantelInit(R"({"level":6})");
    void *handle = vantelNew(R"({"recorder":{"mode":"external"}})", nullptr, nullptr);
    void *bus = static_cast<vantel::Instance *>(handle)->bus;
    Heard heard;
    void *observer = quillon_node_new(bus, "observer", hear, nullptr, &heard);
    quillon_node_subscribe(observer, kTopics);
    std::thread listener{[observer] { quillon_node_run(observer); }};

    std::latch go{kThreads};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            go.arrive_and_wait();
            for (int i = 0; i < kRequests; ++i) {
                const std::string text = std::to_string(thread) + " " + std::to_string(i);
                const int32_t length = static_cast<int32_t>(text.size());
                EXPECT_EQ(vantelFeedData(handle, text.data(), length), 0);
                EXPECT_EQ(vantelSetContextSync(handle, text.c_str()), 0);
                EXPECT_EQ(vantelInputText(handle, text.c_str()), -1);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();

    // A call is answered behind all that was published before it.
    void *probe = quillon_node_new(bus, "probe", nullptr, nullptr, nullptr);
    quillon_call(probe, "/observer/settle", nullptr, 0);
    quillon_node_delete(probe);
    quillon_node_stop(observer);
    listener.join();
    quillon_node_delete(observer);
    EXPECT_EQ(heard.counts,
              (std::map<std::string, int>{{"sys.localRecorder.pcm", kThreads * kRequests},
                                          {"api.localAgent.setContextSync", kThreads * kRequests},
                                          {"sys.vantel.error", kThreads * kRequests}}));
    EXPECT_EQ(vantelDelete(handle), 0);
    vantelRelease();
}

} // namespace
