// Turn after turn on one instance, as fast as it goes, for as long as it is told:
//
//   soak SECONDS               over the scripted engine
//   soak_engine SECONDS FILE   over the engine, with a raw recording of "go forward ten meters"
//
// Spoken turns, with every tenth one typed and answered by another member of the bus. Each has
// exactly one end, a reply or an error, and then silence. It ends with 0 when all had, the system
// was at rest afterwards, and memory, descriptors and threads stayed what they were when a tenth of
// the time was over.
#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#ifndef REAL_ENGINE
#include "tests/support/scripted_engine.h"
#endif

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <malloc.h>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr const char *kParams =
    R"({"vad":{},"asr":{"ngram":"none"},"recorder":{"mode":"external"},"gram":{"text":)"
    R"("#JSGF V1.0;\ngrammar g;\npublic <g> = go (forward | backward) (one | ten) meters;\n"}})";
constexpr size_t kChunkBytes = 640;           // 20 ms
constexpr size_t kSilenceBytes = 32 * 1000;   // behind each recording
constexpr std::chrono::seconds kLongest{60};  // that a turn may take
constexpr size_t kMaxGrowthBytes = 200 << 10; // of what is allocated, whatever the time
constexpr uint64_t kFewestTurns = 20;         // of them, the first half makes what is kept
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kCountsMemory = false; // their own memory grows with what they keep
#else
constexpr bool kCountsMemory = true;
#endif

// What the callbacks of one turn told.
struct Turn {
    std::mutex mutex;
    std::condition_variable changed;
    int replies = 0;
    int errors = 0;
    bool hasBegun = false; // a status other than silence
    bool isOver = false;   // silence after that
};

char *onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
{
    auto *turn = static_cast<Turn *>(user);
    if (type != VANTEL_TYPE_JSON) return nullptr;
    std::lock_guard lock{turn->mutex};
    if (event == VANTEL_EVENT_DM_OUTPUT) ++turn->replies;
    if (event == VANTEL_EVENT_ERROR) ++turn->errors;
    if (event == VANTEL_EVENT_STATUS) {
        const std::string_view status{static_cast<const char *>(data), length};
        const bool isSilent = status == R"({"status":"silence"})";
        turn->isOver = isSilent && turn->hasBegun;
        turn->hasBegun = turn->hasBegun || !isSilent;
    }
    turn->changed.notify_one();
    return nullptr;
}

int32_t answer(void *, void *node, const char *, const void *, uint32_t)
{
    constexpr std::string_view kReply = R"({"dm":{"nlg":"yes","shouldEndSession":true}})";
    return quillon_publish(node, "sys.dms.output", kReply.data(), kReply.size());
}

struct Usage {
    size_t allocated;
    size_t resident;
    std::ptrdiff_t descriptors;
    std::ptrdiff_t threads;
};

std::ptrdiff_t entries(const char *directory)
{
    return std::distance(std::filesystem::directory_iterator{directory}, {});
}

Usage usage()
{
    const struct mallinfo2 info = mallinfo2();
    size_t pages = 0;
    std::ifstream{"/proc/self/statm"} >> pages >> pages;
    return {info.uordblks + info.hblkhd, pages * static_cast<size_t>(sysconf(_SC_PAGESIZE)),
            entries("/proc/self/fd"), entries("/proc/self/task")};
}

void print(const char *when, const Usage &usage)
{
    std::printf("%-6s %8zu kB allocated, %8zu kB resident, %td descriptors, %td threads\n", when,
                usage.allocated / 1024, usage.resident / 1024, usage.descriptors, usage.threads);
}

// False when the turn did not end, or not once.
bool take(void *handle, const std::string &audio, bool isTyped, Turn *turn)
{
    {
        std::lock_guard lock{turn->mutex};
        turn->replies = turn->errors = 0;
        turn->hasBegun = turn->isOver = false;
    }
    if (isTyped) {
        vantelInputText(handle, R"({"text":"hello"})");
    } else {
        vantelStartDialog(handle);
        // What comes before the detector listens is not for it.
        std::unique_lock lock{turn->mutex};
        turn->changed.wait_for(lock, kLongest, [turn] { return turn->hasBegun; });
        lock.unlock();
        for (size_t at = 0; at < audio.size(); at += kChunkBytes)
            vantelFeedData(handle, audio.data() + at,
                           static_cast<int32_t>(std::min(kChunkBytes, audio.size() - at)));
    }
    std::unique_lock lock{turn->mutex};
    const bool isOver = turn->changed.wait_for(lock, kLongest, [turn] { return turn->isOver; });
    return isOver && turn->replies + turn->errors == 1;
}

std::string readAudio(int count, char **arguments)
{
    // A little noise, something loud, and the pause by which the detector knows the end.
    std::string audio;
    for (size_t i = 0; i < 8000; ++i) {
        const bool isLoud = i >= 1600 && i < 3200;
        audio += {'\0', static_cast<char>((isLoud ? 40 : 1) * (i % 8 < 4 ? 1 : -1))};
    }
    if (count > 2) {
        std::ifstream file{arguments[2], std::ios::binary};
        audio.assign(std::istreambuf_iterator<char>{file}, {});
    }
    return audio + std::string(kSilenceBytes, '\0');
}

} // namespace

int main(int count, char **arguments)
{
    const std::chrono::seconds seconds{count > 1 ? std::atoi(arguments[1]) : 60};
    const std::string audio = readAudio(count, arguments);
    if (vantelInit(R"({"level":6})") != 0) return 1;
#ifndef REAL_ENGINE
    scripted::playTurns();
#endif
    Turn turn;
    void *handle = vantelNew(kParams, onEvent, &turn);
    if (!handle) return 1;
    void *member =
        quillon_node_new(*static_cast<void **>(handle), "service", answer, nullptr, nullptr);
    quillon_node_subscribe(member, R"(["api.localAgent.inputText"])");
    std::thread service{[member] { quillon_node_run(member); }};

    const Clock::time_point start = Clock::now();
    uint64_t turns = 0;
    uint64_t wrong = 0;
    uint64_t replies = 0;
    Usage warm{};
    while (Clock::now() - start < seconds || turns < kFewestTurns) {
        const bool isRight = take(handle, audio, turns % 10 == 9, &turn);
        ++turns;
        replies += static_cast<uint64_t>(turn.replies);
        if (!isRight)
            std::fprintf(stderr, "turn %llu: %d replies, %d errors, %s\n",
                         static_cast<unsigned long long>(turns), turn.replies, turn.errors,
                         turn.isOver ? "over" : "not over");
        wrong += isRight ? 0 : 1;
        const bool isWarm = turns >= kFewestTurns / 2 && Clock::now() - start > seconds / 10;
        if (isWarm && warm.threads == 0) warm = usage();
    }
    const std::chrono::duration<double> took = Clock::now() - start;
    // Each node answers behind all that it was told, twice as many as can tell each other.
    for (int i = 0; i < 2; ++i)
        for (const char *path :
             {"/localVad/x", "/localDms/x", "/localProcessor/x", "/localAgent/x"})
            quillon_call(member, path, nullptr, 0);
    const bool isAtRest = turn.isOver && turn.replies + turn.errors == 1;
    const Usage end = usage();

    quillon_node_stop(member);
    service.join();
    quillon_node_delete(member);
    vantelDelete(handle);
    vantelRelease();
    std::printf(
        "%llu turns in %.0f s, %.0f times real time: %llu replies, %llu not ended once, %s\n",
        static_cast<unsigned long long>(turns), took.count(),
        static_cast<double>(turns) * static_cast<double>(audio.size()) / 32000 / took.count(),
        static_cast<unsigned long long>(replies), static_cast<unsigned long long>(wrong),
        isAtRest ? "at rest" : "not at rest");
    print("then", warm);
    print("now", end);
    const bool isFlat = end.descriptors == warm.descriptors && end.threads == warm.threads &&
                        (!kCountsMemory || end.allocated <= warm.allocated + kMaxGrowthBytes);
    return wrong == 0 && replies > 0 && isAtRest && isFlat ? 0 : 1;
}
