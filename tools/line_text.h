// Text appended to a fixed buffer: every function takes the place where it writes and returns the
// place behind.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace vantel
{

// As %d and %4d. There must be room for 11 characters.
char *appendNumber(char *out, int32_t value);
char *appendAligned(char *out, int32_t value);

// As much of the text as there is room for before `end`.
char *appendText(char *out, const char *end, const char *text);

// As vsnprintf, cut at `end`; the byte there takes the terminator. Plain %s and %d, which most
// lines have and no others, are several times faster than there.
char *appendFormat(char *out, const char *end, const char *format, va_list arguments);

} // namespace vantel
