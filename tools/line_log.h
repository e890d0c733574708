// A log of one line a call: to a file that starts afresh at a size limit, or to standard output.
//
// The process-wide log (tools/log.h) is one of these; so is each bus's own log.
#pragma once

#include "platform/platform.h"
#include "tools/printf_format.h"
#include "tools/quenda_mk_thread.h"

#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace vantel
{

enum LogLevel : int32_t { kVerbose = 1, kDebug = 2, kInfo = 3, kWarning = 4, kError = 5 };

// Nothing is written at this threshold.
constexpr int32_t kLogNothing = 6;

struct LineLog {
    // Set before the log is opened.
    bool isFileOnly = false;    // never turns to standard output
    bool isOneLineEach = false; // control characters of a message show as '?', so that none begins
                                // a line of its own
    // Read without the mutex, so that a suppressed line costs a comparison; kLogNothing while the
    // log is not initialised.
    std::atomic<int32_t> gate{kLogNothing};
    // Guarded by the mutex.
    quenda_mk_mutex mutex = nullptr; // null: not initialised
    int32_t threshold = 0;
    std::FILE *stream = nullptr;  // null: not initialised
    std::unique_ptr<char[]> line; // kLogLineBytes
    std::string path;
    float sizeLimitBytes = 20971520.0F; // 0 or less: no limit
    int64_t position = 0;               // of the stream, when it is a file
    bool isAppended = false;            // others may append to the file as well
    // How the last line began, up to the second, kept for the next.
    int64_t headSecond = -1;
    uint32_t headThread = 0;
    size_t headBytes = 0;
    char date[32] = {};
    char head[64] = {};
};

constexpr int32_t kLogLineBytes = 4096;

// Opens the log: appends to `path` when `mode` is not 0, else starts it afresh; standard output
// when the path is null, empty or cannot be opened (unless it is file only). On an open log only
// the threshold changes.
void lineLogInit(LineLog *log, int32_t threshold, const char *path, int32_t mode, float sizeMb);

// Closes the log; later lines are dropped. A file is closed, standard output is not.
void lineLogRelease(LineLog *log);

// Writes one line and flushes it. `file` is a source path without extension.
void lineLogPrint(LineLog *log, int32_t level, const char *file, int32_t line, const char *format,
                  ...) VANTEL_PRINTF(5, 6);
void lineLogPrintV(LineLog *log, int32_t level, const char *file, int32_t line, const char *format,
                   va_list arguments) VANTEL_PRINTF(5, 0);

inline bool lineLogEnabled(const LineLog *log, int32_t level)
{
    return level >= log->gate.load(std::memory_order_acquire);
}

// "YYYY-MM-DD hh:mm:ss" in UTC+8 for a local time; "1900-01-00 08:00:00" when it cannot be
// converted. `out` holds at least 20 bytes.
void formatLogDate(const LocalTime &local, char *out, size_t outBytes);

} // namespace vantel
