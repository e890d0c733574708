// What both sides of a comparison share: clocks, medians, one processor for everything.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace bench
{

int64_t nowNs(); // monotonic
int64_t cpuNs(); // spent by the whole process
void sleepUntilNs(int64_t timeNs);

// Binds the process to one processor: with several, where the system happens to put each thread
// decides the figures.
void pinToOneProcessor();

// Voluntary switches so far of the process's other threads.
int64_t wakeUpsOfOthers();

inline double median(std::vector<double> values)
{
    auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

// Nanoseconds a message or delivery.
struct Cost {
    double wall;
    double cpu;
};

} // namespace bench
