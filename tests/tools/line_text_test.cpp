#include "tools/line_log.h"
#include "tools/line_text.h"

#include <climits>
#include <cstdio>
#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace vantel;

namespace
{

constexpr size_t kRoom = 64;

// What appendFormat makes of it when `room` bytes are left, and what snprintf does.
struct Both {
    std::string own;
    std::string standard;
};

VANTEL_PRINTF(2, 3) Both formatted(size_t room, const char *format, ...)
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
    return {std::string(own.data(), end), standard.data()};
}

void expectSame(const Both &both)
{
    EXPECT_EQ(both.own, both.standard);
}

TEST(LineText, FormatsAsTheStandardFunctionDoes)
{
    expectSame(formatted(kRoom, "%s", ""));
    expectSame(formatted(kRoom, "  %s onStart\n", "ZQ-localVad"));
    expectSame(formatted(kRoom, "  %s setTimer, %d%d|%d\n", "tag", INT_MIN, INT_MAX, 0));
    expectSame(formatted(kRoom, "%s%%, %5d %-4s|%lu %p", "tag", 7, "ab", 42UL,
                         static_cast<const void *>(nullptr)));
    expectSame(formatted(kRoom, "%d %.2f %s %d", -1, 2.5, "x", 3));
}

TEST(LineText, IsCutWhereTheRoomEnds)
{
    for (size_t room = 0; room < 40; ++room) {
        expectSame(formatted(room, "  %s sets %d, %s", "some tag", 1234567890, "more"));
        expectSame(formatted(room, "%s %04x %d", "some tag", 0xbeefU, -1234567890));
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
