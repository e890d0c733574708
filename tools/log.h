// The process-wide log. vantelInit opens it, vantelRelease closes it; every thread writes to it.
#pragma once

#include "tools/line_log.h"

namespace vantel
{

// See lineLogInit.
void logInit(int32_t threshold, const char *path, int32_t mode, float sizeMb);
void logRelease();

// Writes a line when `level` is at least the threshold. `file` is the source path without
// extension, `function` the operation that writes the line (accepted, not printed). The format
// begins with two blanks and "%s", whose argument is the module's tag.
void logPrint(int32_t level, const char *file, int32_t line, const char *function,
              const char *format, ...) VANTEL_PRINTF(5, 6);

// Whether a line of this level is written; test it before arguments that cost something.
bool logEnabled(int32_t level);

// A text for "%s": never null.
inline const char *orNull(const char *text)
{
    return text ? text : "NULL";
}

// An argument for "%lu": the figures that the log shows so are 32-bit on every system.
inline unsigned long asLu(uint32_t value)
{
    return value;
}

} // namespace vantel

// The log call of a module whose source path is `source`; modules wrap it in a macro of their own.
// Arguments are not evaluated for a level that is not written.
#define VANTEL_LOG(source, level, ...)                                                             \
    do {                                                                                           \
        if (::vantel::logEnabled(level))                                                           \
            ::vantel::logPrint(level, source, __LINE__, __func__, __VA_ARGS__);                    \
    } while (false)
