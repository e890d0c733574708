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
