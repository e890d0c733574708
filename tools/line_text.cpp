#include "tools/line_text.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <cstring>

namespace vantel
{
namespace
{

constexpr ptrdiff_t kLongestNumber = 11; // "-2147483648"

} // namespace

// The digits go straight to their place: copying them from a buffer just after they were written is
// what processors are slow at.
char *appendNumber(char *out, int32_t value)
{
    return std::to_chars(out, out + kLongestNumber, value).ptr;
}

char *appendAligned(char *out, int32_t value)
{
    if (value > -100 && value < 1000) *out++ = ' ';
    if (value > -10 && value < 100) *out++ = ' ';
    if (value >= 0 && value < 10) *out++ = ' ';
    return appendNumber(out, value);
}

char *appendText(char *out, const char *end, const char *text)
{
    size_t count = std::min(std::strlen(text), static_cast<size_t>(end - out));
    return std::copy_n(text, count, out);
}

char *appendFormat(char *out, const char *end, const char *format, va_list arguments)
{
    va_list left; // a copy, so that it can be used up piece by piece
    va_copy(left, arguments);
    // What stands between two conversions is mostly a character or two.
    for (; *format && out < end; ++format) {
        if (*format != '%') {
            *out++ = *format;
        } else if (format[1] == 's') {
            const char *text = va_arg(left, const char *);
            out = appendText(out, end, text ? text : "(null)");
            ++format;
        } else if (format[1] == 'd' && end - out >= kLongestNumber) {
            out = appendNumber(out, va_arg(left, int));
            ++format;
        } else {
            // It counts the terminator in, and returns what it would have liked to write.
            int wanted = std::vsnprintf(out, static_cast<size_t>(end - out) + 1, format, left);
            out += std::clamp<ptrdiff_t>(wanted, 0, end - out);
            break;
        }
    }
    va_end(left);
    return out;
}

} // namespace vantel
