#include "include/vantel/vantel.h"
#include "tests/support/scripted_engine.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace
{

std::ptrdiff_t entries(const char *directory)
{
    return std::distance(std::filesystem::directory_iterator{directory}, {});
}

TEST(Leaks, AThousandInstancesLeaveNoThreadAndNoDescriptor)
{
    vantelInit(R"({"level":6})");
    const auto cycle = [] {
        void *first = vantelNew("{}", nullptr, nullptr);
        void *second = vantelNew(R"({"vad":{},"asr":{},"gram":{}})", nullptr, nullptr);
        EXPECT_EQ(vantelStartDialog(second), 0);
        EXPECT_EQ(vantelDelete(first), 0);
        EXPECT_EQ(vantelDelete(second), 0);
    };
    cycle(); // what is made once for the process is there now
    std::ptrdiff_t threads = entries("/proc/self/task");
    std::ptrdiff_t descriptors = entries("/proc/self/fd");
    for (int i = 0; i < 500; ++i)
        cycle();
    EXPECT_EQ(entries("/proc/self/task"), threads);
    EXPECT_EQ(entries("/proc/self/fd"), descriptors);
    EXPECT_EQ(scripted::liveHandles(), 0);
    vantelRelease();
}

} // namespace
