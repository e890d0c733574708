#include "bench/measure.h"

#include <ctime>
#include <filesystem>
#include <fstream>
#include <sched.h>
#include <string>
#include <unistd.h>

namespace bench
{
namespace
{

constexpr int64_t kNanosecondsPerSecond = 1000000000;

int64_t readClock(clockid_t clock)
{
    timespec now{};
    clock_gettime(clock, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

} // namespace

int64_t nowNs()
{
    return readClock(CLOCK_MONOTONIC);
}

int64_t cpuNs()
{
    return readClock(CLOCK_PROCESS_CPUTIME_ID);
}

void sleepUntilNs(int64_t timeNs)
{
    timespec until{timeNs / kNanosecondsPerSecond, timeNs % kNanosecondsPerSecond};
    clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
}

void pinToOneProcessor()
{
    cpu_set_t processors;
    CPU_ZERO(&processors);
    CPU_SET(static_cast<size_t>(sched_getcpu()), &processors);
    sched_setaffinity(0, sizeof processors, &processors);
}

int64_t wakeUpsOfOthers()
{
    int64_t sum = 0;
    for (const auto &task : std::filesystem::directory_iterator{"/proc/self/task"}) {
        if (task.path().filename() == std::to_string(getpid())) continue;
        std::ifstream status{task.path() / "status"};
        const std::string key = "voluntary_ctxt_switches:";
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with(key)) sum += std::stoll(line.substr(key.size()));
        }
    }
    return sum;
}

} // namespace bench
