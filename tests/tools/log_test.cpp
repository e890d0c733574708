#include "tools/line_log.h"
#include "tools/log.h"

#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <thread>
#include <vector>

using namespace vantel;

namespace
{

std::string contents(const std::string &path)
{
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::vector<std::string> lines(const std::string &path)
{
    std::ifstream file{path, std::ios::binary};
    std::vector<std::string> all;
    for (std::string line; std::getline(file, line);)
        all.push_back(line);
    return all;
}

class Log : public testing::Test
{
protected:
    Log()
    {
        folder_ = std::filesystem::temp_directory_path() /
                  ("vantel-log-" + std::to_string(platformProcessId()) + "-" +
                   testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(folder_);
        path_ = (folder_ / "a.log").generic_string();
    }
    ~Log() override
    {
        lineLogRelease(&log_);
        std::filesystem::remove_all(folder_);
    }

    void open(int32_t threshold = 1, int32_t mode = 0, float sizeMb = 20)
    {
        lineLogInit(&log_, threshold, path_.c_str(), mode, sizeMb);
    }
    void write(int32_t level, const std::string &message)
    {
        lineLogPrint(&log_, level, "src/vad/vad", 557, "  %s %s", "ZQ-localVad", message.c_str());
    }

    std::filesystem::path folder_;
    std::string path_;
    LineLog log_;
};

TEST_F(Log, LineHasProcessThreadDateLevelPlaceAndMessage)
{
    open();
    write(kDebug, "setTimer, 3\n");
    char expected[128];
    std::snprintf(expected, sizeof expected, "[%05d:%05d]", static_cast<int>(platformProcessId()),
                  static_cast<int>(platformThreadId()));
    std::string line = contents(path_);
    ASSERT_TRUE(line.starts_with(expected)) << line;
    line.erase(0, std::string(expected).size());
    // 2026-11-18 17:10:01.123
    EXPECT_EQ(line[4], '-');
    EXPECT_EQ(line[19], '.');
    EXPECT_EQ(line.substr(23), " [D] src/vad/vad# 557#  ZQ-localVad setTimer, 3\n");
}

// The local time of a moment given in UTC, in whatever zone the tests run.
LocalTime localAt(int year, unsigned month, unsigned day, int hour, int minute)
{
    using namespace std::chrono;
    auto days = sys_days{std::chrono::year{year} / static_cast<int>(month) / static_cast<int>(day)};
    std::time_t moment = system_clock::to_time_t(days + hours{hour} + minutes{minute});
    const std::tm *local = std::localtime(&moment);
    return {local->tm_year + 1900,
            local->tm_mon + 1,
            local->tm_mday,
            local->tm_hour,
            local->tm_min,
            local->tm_sec,
            0};
}

TEST_F(Log, DateIsUtcPlusEightWithCarry)
{
    struct {
        LocalTime local;
        const char *shown;
    } cases[] = {
        {localAt(2025, 12, 31, 23, 30), "2026-01-01 07:30:00"},
        {localAt(2024, 2, 28, 16, 0), "2024-02-29 00:00:00"},
        {localAt(2023, 2, 28, 16, 0), "2023-03-01 00:00:00"},
        {localAt(2000, 2, 28, 16, 0), "2000-02-29 00:00:00"},
        {localAt(2100, 2, 28, 16, 0), "2100-03-01 00:00:00"},
        {localAt(2026, 4, 30, 15, 59), "2026-04-30 23:59:00"},
        {localAt(2026, 4, 30, 16, 0), "2026-05-01 00:00:00"},
        // A time that cannot be converted.
        {{2147483647, 2147483647, 1, 0, 0, 0, 0}, "1900-01-00 08:00:00"},
    };
    for (const auto &c : cases) {
        char shown[32];
        formatLogDate(c.local, shown, sizeof shown);
        EXPECT_STREQ(shown, c.shown);
    }
}

TEST_F(Log, ThresholdDecidesAndASecondInitChangesOnlyIt)
{
    open(kInfo);
    for (int32_t level = 1; level <= 5; ++level)
        write(level, "level " + std::to_string(level));
    EXPECT_EQ(lines(path_).size(), 3U);
    lineLogInit(&log_, kLogNothing, "elsewhere.log", 0, 1);
    write(kError, "unwritten");
    EXPECT_EQ(lines(path_).size(), 3U);
    EXPECT_FALSE(std::filesystem::exists("elsewhere.log"));
}

TEST_F(Log, LineEndsWithOneNewlineAndIsCutAtItsBuffer)
{
    open();
    write(kInfo, "bare");
    write(kInfo, "ended\n");
    EXPECT_EQ(contents(path_).find("\n\n"), std::string::npos);
    write(kInfo, std::string(5000, 'x'));
    ASSERT_EQ(lines(path_).size(), 3U);
    EXPECT_EQ(lines(path_)[2].size(), 4094U);
    EXPECT_EQ(contents(path_).back(), '\n');
}

TEST_F(Log, FileStartsAfreshWithANoticeAtItsSizeLimit)
{
    open(1, 0, 0.001F); // 1048 bytes
    while (contents(path_).size() < 1049)
        write(kInfo, std::string(100, 'x'));
    size_t full = contents(path_).size();
    write(kInfo, "after");
    std::string notice =
        "\nlog file size: " + std::to_string(full) + ", remove file:  " + path_ + "\n\n[";
    EXPECT_TRUE(contents(path_).starts_with(notice)) << contents(path_);
    EXPECT_TRUE(contents(path_).ends_with("after\n"));
}

TEST_F(Log, SizeZeroIsNoLimitAndModeDecidesWhetherAFileIsKept)
{
    open(1, 0, 0);
    for (int i = 0; i < 100; ++i)
        write(kInfo, std::string(100, 'x'));
    EXPECT_EQ(lines(path_).size(), 100U);
    lineLogRelease(&log_);
    open(1, 1);
    write(kInfo, "appended");
    EXPECT_EQ(lines(path_).size(), 101U);
    lineLogRelease(&log_);
    open(1, 0);
    EXPECT_EQ(contents(path_), "");
}

TEST_F(Log, AppendingCountsWhatTheFileHeldTowardsItsLimit)
{
    std::ofstream{path_} << std::string(2000, 'x');
    open(1, 1, 0.001F);
    write(kInfo, "first");
    EXPECT_TRUE(contents(path_).starts_with("\nlog file size: 2000, ")) << contents(path_);
}

TEST_F(Log, WithoutAFileLinesGoToStandardOutput)
{
    testing::internal::CaptureStdout();
    lineLogInit(&log_, 1, (folder_ / "absent" / "a.log").generic_string().c_str(), 0, 20);
    write(kInfo, "shown");
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with("ZQ-localVad shown\n"));
}

TEST_F(Log, AFileThatCannotBeReopenedAtItsLimitGivesWayToStandardOutput)
{
    // Seen from another working directory, the relative path leads to a folder.
    std::filesystem::create_directories(folder_ / "elsewhere" / "a.log");
    std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_);
    path_ = "a.log";
    open(1, 0, 0.001F);
    while (contents(path_).size() < 1049)
        write(kInfo, std::string(100, 'x'));
    std::filesystem::current_path(folder_ / "elsewhere");
    testing::internal::CaptureStdout();
    write(kInfo, "still here");
    EXPECT_TRUE(testing::internal::GetCapturedStdout().ends_with("still here\n"));
    std::filesystem::current_path(before);
}

TEST_F(Log, BeforeInitAndAfterReleaseNothingIsWritten)
{
    write(kError, "too early");
    open();
    lineLogRelease(&log_);
    write(kError, "too late");
    lineLogRelease(&log_);
    EXPECT_EQ(contents(path_), "");
}

TEST_F(Log, LinesOfManyThreadsNeverMix)
{
    open();
    std::vector<std::thread> writers;
    for (int t = 0; t < 8; ++t) {
        writers.emplace_back([this, t] {
            for (int i = 0; i < 200; ++i)
                write(kInfo, std::string(40, static_cast<char>('a' + t)));
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    ASSERT_EQ(lines(path_).size(), 1600U);
    for (const std::string &line : lines(path_)) {
        std::string message = line.substr(line.size() - 40);
        EXPECT_EQ(message, std::string(40, message[0]));
    }
}

TEST(ProcessLog, ArgumentsOfASuppressedLineAreNotEvaluated)
{
    int evaluated = 0;
    VANTEL_LOG("tests/log", kError, "  %s %d\n", "test", ++evaluated);
    EXPECT_EQ(evaluated, 0);
}

} // namespace
