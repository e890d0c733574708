// Eight threads do everything that the interface allows at once, for as long as they are told:
//
//   stress SECONDS [SEED]
//
// Every operation with sense and nonsense, odd messages of another member of the bus on every
// topic, host callbacks that call operations and answer anything, instances made and deleted
// meanwhile. It ends with 0 when nothing hung; that nothing broke, the sanitizers see.
#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#include "tests/stress/host_operations.h"
#include "tests/support/scripted_engine.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

namespace
{

using namespace stress;
using Clock = std::chrono::steady_clock;

constexpr size_t kThreads = 8;
constexpr int kJobs = 30; // between two looks at the clock
constexpr std::chrono::seconds kHung{120};

constexpr const char *kParams[] = {
    "{}",
    R"({"vad":{},"asr":{},"gram":{},"recorder":{"mode":"external"}})",
    R"({"vad":{"fullMode":1,"timeout":20},"asr":{},"gram":{},"oneshot":{"enable":"true"},)"
    R"("wakeup":{"word":"你好小车"},"recorder":{"mode":"external"},"dmTimeOut":20})",
    R"({"vad":{"pauseTime":0},"asr":{"retryTimes":2,"env":{"a":[1,"x"]}},"gram":{},)"
    R"("fullDuplex":{"enable":"true"},"recorder":{"mode":"external"},"enableStreamData":1})",
    R"({"vad":7,"asr":"x","gram":[],"dmTimeOut":-5,"timerClickMs":"x"})",
};

// Whoever uses the handle holds the mutex shared, who makes or deletes it alone.
struct Slot {
    std::shared_mutex mutex;
    void *handle = nullptr;
};

Slot slots[3];
std::atomic<uint64_t> jobs{0};
std::atomic<uint64_t> events{0};
std::atomic<uint64_t> instances{0};

Random &ofThisThread(uint32_t seed = 1)
{
    thread_local Random random{seed};
    return random;
}

// Comes from the instance's threads: it asks, unless its instance is just being made or deleted,
// for anything, and answers anything.
char *onEvent(void *user, const void *, uint32_t, int32_t, int32_t)
{
    Random &random = ofThisThread();
    auto *slot = static_cast<Slot *>(user);
    ++events;
    if (below(random, 8) == 0) {
        std::shared_lock using_{slot->mutex, std::try_to_lock};
        if (using_ && slot->handle) anyOperation(random, slot->handle);
    }
    const char *answer = below(random, 8) == 0 ? anyOf(random, kTexts) : nullptr;
    return answer ? strdup(answer) : nullptr;
}

void renew(Random &random, Slot *slot)
{
    std::unique_lock alone{slot->mutex};
    vantelDelete(slot->handle);
    slot->handle = vantelNew(anyOf(random, kParams), onEvent, slot);
    ++instances;
}

// Says odd things to everybody and asks odd things of everybody.
void intrude(Random &random, void *bus)
{
    const std::string name = "intruder" + std::to_string(below(random, 1000));
    void *node = quillon_node_new(bus, name.c_str(), nullptr, nullptr, nullptr);
    for (int i = 0; i < 10; ++i) {
        const char *text = anyOf(random, kTexts);
        const size_t length = text ? strlen(text) : 0;
        quillon_publish(node, anyOf(random, kTopics), text, static_cast<uint32_t>(length));
    }
    quillon_call(node, anyOf(random, kPaths), anyOf(random, kTexts), 0);
    quillon_node_delete(node);
}

void work(uint32_t seed, const std::atomic<bool> *isOver)
{
    Random &random = ofThisThread(seed);
    random.seed(seed);
    while (!*isOver) {
        for (int i = 0; i < kJobs; ++i, ++jobs) {
            Slot &slot = slots[below(random, std::size(slots))];
            if (below(random, 400) == 0) {
                renew(random, &slot);
                continue;
            }
            std::shared_lock using_{slot.mutex};
            if (!slot.handle) continue;
            if (below(random, 20) == 0)
                intrude(random, *static_cast<void **>(slot.handle));
            else
                anyOperation(random, slot.handle);
        }
    }
}

} // namespace

int main(int count, char **arguments)
{
    const int seconds = count > 1 ? std::atoi(arguments[1]) : 60;
    const auto seed = static_cast<uint32_t>(count > 2 ? std::atoi(arguments[2]) : 1);
    vantelInit(R"({"level":6})");
    scripted::playTurns();
    for (Slot &slot : slots)
        renew(ofThisThread(seed), &slot);

    std::atomic<bool> isOver{false};
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < kThreads; ++i)
        threads.emplace_back(work, seed * kThreads + i, &isOver);

    // When nothing at all gets done any more, the core tells where everybody waits.
    std::mutex mutex;
    std::condition_variable joined;
    bool isJoined = false;
    std::thread watch{[&] {
        std::unique_lock lock{mutex};
        uint64_t before = jobs;
        Clock::time_point since = Clock::now();
        while (!isJoined) {
            joined.wait_for(lock, std::chrono::seconds{1});
            if (jobs != before) since = Clock::now();
            before = jobs;
            if (Clock::now() - since < kHung) continue;
            std::fprintf(stderr, "nothing was done for %d s\n", static_cast<int>(kHung.count()));
            std::abort();
        }
    }};
    std::this_thread::sleep_for(std::chrono::seconds{seconds});
    isOver = true;
    for (std::thread &thread : threads)
        thread.join();
    for (Slot &slot : slots)
        vantelDelete(slot.handle);
    {
        std::lock_guard lock{mutex};
        isJoined = true;
    }
    joined.notify_one();
    watch.join();
    vantelRelease();
    std::printf(
        "%d s, seed %u: %llu operations, %llu instances, %llu events, %d engine handles left\n",
        seconds, seed, static_cast<unsigned long long>(jobs),
        static_cast<unsigned long long>(instances), static_cast<unsigned long long>(events),
        scripted::liveHandles());
    return scripted::liveHandles() == 0 && events > 0 ? 0 : 1;
}
