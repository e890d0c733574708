// Lines of the log: their layout, their file, and how their texts are formatted.
#include "tests/support/folder.h"
#include "tools/line_log.h"
#include "tools/line_text.h"
#include "tools/log.h"

#include <climits>
#include <ctime>
#include <gtest/gtest.h>
#include <sstream>
#include <thread>
#include <vector>

using namespace vantel;

namespace
{

struct Log : testing::Test {
    ~Log() override { lineLogRelease(&log_); }

    void open(int32_t threshold = 1, int32_t mode = 0, float sizeMb = 20)
    {
        lineLogInit(&log_, threshold, path_.c_str(), mode, sizeMb);
    }
    void write(int32_t level, const std::string &message)
    {
        lineLogPrint(&log_, level, "src/vad/vad", 557, "  %s %s", "ZQ-localVad", message.c_str());
    }
    // Up to the limit of a log of 0.001 MB.
    void fill()
    {
        while (contents().size() < 1049)
            write(kInfo, std::string(100, 'x'));
    }
    std::string contents() const { return folder_.read("a.log"); }
    std::vector<std::string> lines() const
    {
        std::istringstream text{contents()};
        std::vector<std::string> all;
        for (std::string line; std::getline(text, line);)
            all.push_back(line);
        return all;
    }

    Folder folder_;
    std::string path_ = folder_ / "a.log";
    LineLog log_;
};

TEST_F(Log, LineHasProcessThreadDateLevelPlaceAndMessage)
{
    open();
    write(kDebug, "setTimer, 3\n");
    char expected[128];
    std::snprintf(expected, sizeof expected, "[%05d:%05d]", static_cast<int>(platformProcessId()),
                  static_cast<int>(platformThreadId()));
    std::string line = contents();
    ASSERT_TRUE(line.starts_with(expected)) << line;
    line.erase(0, std::string(expected).size());
    // 2026-11-18 17:10:01.123
    EXPECT_EQ(line[4], '-');
    EXPECT_EQ(line[19], '.');
    EXPECT_EQ(line.substr(23), " [D] src/vad/vad# 557#  ZQ-localVad setTimer, 3\n");
}

TEST_F(Log, DateIsUtcPlusEightWithCarry)
{
    const std::pair<std::time_t, const char *> cases[] = {
        {1767223800, "2026-01-01 07:30:00"}, {1709136000, "2024-02-29 00:00:00"},
        {1677600000, "2023-03-01 00:00:00"}, {951753600, "2000-02-29 00:00:00"},
        {4107513600, "2100-03-01 00:00:00"}, {1777564740, "2026-04-30 23:59:00"},
        {1777564800, "2026-05-01 00:00:00"},
    };
    char shown[32];
    for (const auto &[moment, expected] : cases) {
        const std::tm *local = std::localtime(&moment);
        formatLogDate({local->tm_year + 1900, local->tm_mon + 1, local->tm_mday, local->tm_hour,
                       local->tm_min, local->tm_sec, 0},
                      shown, sizeof shown);
        EXPECT_STREQ(shown, expected);
    }
    formatLogDate({2147483647, 2147483647, 1, 0, 0, 0, 0}, shown, sizeof shown);
    EXPECT_STREQ(shown, "1900-01-00 08:00:00") << "a time that cannot be converted";
}

TEST_F(Log, ThresholdDecidesAndASecondInitChangesOnlyIt)
{
    open(kInfo);
    for (int32_t level = 1; level <= 5; ++level)
        write(level, "level " + std::to_string(level));
    EXPECT_EQ(lines().size(), 3U);
    lineLogInit(&log_, kLogNothing, (folder_ / "elsewhere.log").c_str(), 0, 1);
    write(kError, "unwritten");
    EXPECT_EQ(lines().size(), 3U);
    EXPECT_FALSE(platformPathExists((folder_ / "elsewhere.log").c_str()));
}

TEST_F(Log, LineEndsWithOneNewlineAndIsCutAtItsBuffer)
{
    open();
    write(kInfo, "bare");
    write(kInfo, "ended\n");
    write(kInfo, std::string(5000, 'x'));
    EXPECT_EQ(contents().find("\n\n"), std::string::npos);
    ASSERT_EQ(lines().size(), 3U);
    EXPECT_EQ(lines()[2].size(), 4094U);
    EXPECT_EQ(contents().back(), '\n');
}

TEST_F(Log, FileStartsAfreshWithANoticeAtItsSizeLimit)
{
    open(1, 0, 0.001F); // 1048 bytes
    fill();
    size_t full = contents().size();
    write(kInfo, "after");
    std::string notice =
        "\nlog file size: " + std::to_string(full) + ", remove file:  " + path_ + "\n\n[";
    EXPECT_TRUE(contents().starts_with(notice)) << contents();
    EXPECT_TRUE(contents().ends_with("after\n"));
}

TEST_F(Log, SizeZeroIsNoLimitAndModeDecidesWhetherAFileIsKept)
{
    open(1, 0, 0);
    for (int i = 0; i < 100; ++i)
        write(kInfo, std::string(100, 'x'));
    EXPECT_EQ(lines().size(), 100U);
    lineLogRelease(&log_);
    open(1, 1);
    write(kInfo, "appended");
    EXPECT_EQ(lines().size(), 101U);
    lineLogRelease(&log_);
    // What the file held counts towards its limit.
    std::string held = std::to_string(contents().size());
    open(1, 1, 0.001F);
    write(kInfo, "first");
    EXPECT_TRUE(contents().starts_with("\nlog file size: " + held + ", ")) << contents();
    lineLogRelease(&log_);
    open(1, 0);
    EXPECT_EQ(contents(), "");
}

TEST_F(Log, TwoThatAppendToOneFileBothRollItOverAndKeepWhatTheOtherWrites)
{
    open(1, 1, 0.001F);
    LineLog other;
    lineLogInit(&other, 1, path_.c_str(), 1, 0.001F);
    LineLog *logs[] = {&log_, &other};
    for (int i = 0; i < 4; ++i) {
        LineLog *filling = logs[i % 2];
        while (contents().size() < 1049)
            lineLogPrint(filling, kInfo, "f", 1, "  %s\n", std::string(100, 'x').c_str());
        const std::string full = std::to_string(contents().size());
        lineLogPrint(logs[1 - i % 2], kInfo, "f", 1, "  %s\n", "over");
        EXPECT_TRUE(contents().starts_with("\nlog file size: " + full + ", ")) << contents();
        lineLogPrint(filling, kInfo, "f", 1, "  %s\n", "behind");
        lineLogPrint(logs[1 - i % 2], kInfo, "f", 1, "  %s\n", "last");
        EXPECT_EQ(lines().size(), 6U) << contents();
    }
    lineLogRelease(&other);
}

TEST_F(Log, AFileThatCannotBeReopenedAtItsLimitGivesWayToStandardOutput)
{
    // Seen from another working directory, the relative path leads to a folder.
    std::filesystem::create_directories(folder_ / "elsewhere/a.log");
    std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder_ / "");
    path_ = "a.log";
    open(1, 0, 0.001F);
    fill();
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
    EXPECT_EQ(contents(), "");
}

TEST_F(Log, LinesOfManyThreadsNeverMix)
{
    open();
    std::vector<std::thread> writers;
    for (char letter = 'a'; letter < 'i'; ++letter) {
        writers.emplace_back([this, letter] {
            for (int i = 0; i < 200; ++i)
                write(kInfo, std::string(40, letter));
        });
    }
    for (std::thread &writer : writers)
        writer.join();
    ASSERT_EQ(lines().size(), 1600U);
    for (const std::string &line : lines()) {
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

// appendFormat makes of it what snprintf does when `room` bytes are left.
VANTEL_PRINTF(2, 3) void expectStandard(size_t room, const char *format, ...)
{
    // As large as the room, so that the sanitizers see one byte too many.
    std::vector<char> own(room + 1), standard(room + 1);
    va_list arguments;
    va_start(arguments, format);
    char *end = appendFormat(own.data(), own.data() + room, format, arguments);
    va_end(arguments);
    va_start(arguments, format);
    std::vsnprintf(standard.data(), standard.size(), format, arguments);
    va_end(arguments);
    EXPECT_EQ(std::string(own.data(), end), standard.data()) << room;
}

TEST(LineText, FormatsAsTheStandardFunctionDoesAndIsCutWhereTheRoomEnds)
{
    const void *null = nullptr;
    for (size_t room = 0; room < 64; ++room) {
        expectStandard(room, "%s", "");
        expectStandard(room, "  %s setTimer, %d%d|%d\n", "some tag", INT_MIN, INT_MAX, 0);
        expectStandard(room, "%s%%, %5d %-4s|%lu %p", "tag", 7, "ab", 42UL, null);
        expectStandard(room, "%d %.2f %s %04x %d", -1, 2.5, "x", 0xbeefU, -1234567890);
    }
}

TEST(LineText, AlignsLineNumbersToFourCharacters)
{
    for (int32_t value : {0, 7, 42, 557, 1000, 99999, -1, -42, -557, INT_MAX, INT_MIN}) {
        char own[16] = {};
        char standard[16] = {};
        appendAligned(own, value);
        std::snprintf(standard, sizeof standard, "%4d", value);
        EXPECT_STREQ(own, standard);
    }
}

} // namespace
