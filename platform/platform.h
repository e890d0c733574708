// Everything the system asks of the operating system; one file per system implements it.
//
// Paths are UTF-8 on every system. Functions may be called from any thread.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace vantel
{

// An unnamed kernel mutex that nobody owns at creation; null when there is none.
using PlatformMutex = void *;

PlatformMutex platformMutexCreate();
void platformMutexLock(PlatformMutex mutex); // waits without limit
void platformMutexUnlock(PlatformMutex mutex);
void platformMutexDestroy(PlatformMutex mutex);

// A thread's handle, which lives until platformThreadClose, also after the thread has ended.
using PlatformThread = void *;
using PlatformThreadStart = uint32_t (*)(void *argument);

// Starts a thread at once; its exit code is what `start` returns. stackBytes 0 is the system's
// default. Null when no thread was made.
PlatformThread platformThreadCreate(uint32_t stackBytes, PlatformThreadStart start, void *argument);

enum class PlatformWait { signalled, other, failed };

// Waits without limit for the thread's end. A null handle fails.
PlatformWait platformThreadWait(PlatformThread thread);

// The exit code of a thread that was waited for.
bool platformThreadExitCode(PlatformThread thread, uint32_t *exitCode);

// Frees the handle. The thread has been waited for.
void platformThreadClose(PlatformThread thread);

// The error code that the calling thread's last failed platform function left.
uint32_t platformLastError();

uint32_t platformThreadId();
uint32_t platformProcessId();

struct LocalTime {
    int32_t year;
    int32_t month; // 1 to 12
    int32_t day;
    int32_t hour;
    int32_t minute;
    int32_t second;
    int32_t millisecond;
};

// The local wall-clock time.
LocalTime platformLocalTime();

// Milliseconds since the epoch, without the cost of a calendar.
int64_t platformWallClockMs();

// The same moment as seconds since the epoch; the C library decides daylight saving. -1 when the
// time cannot be represented.
int64_t platformLocalToEpoch(const LocalTime &local);

// Seconds since the epoch as UTC, millisecond 0; false when they are outside the C library's range.
bool platformEpochToUtc(int64_t seconds, LocalTime *utc);

// A high-resolution counter and its ticks per second.
uint64_t platformPerformanceCounter();
uint64_t platformPerformanceFrequency();

// Whether any kind of directory entry has this path.
bool platformPathExists(const char *path);

// Makes one directory: 0, or -1. Where permissions are bits of a mode, nobody but its owner can
// enter it; elsewhere it inherits those of its parent.
int32_t platformMakeDirectory(const char *path);

// Whether the path is that of a regular file: no directory, device or pipe, whose reading may never
// end.
bool platformIsRegularFile(const char *path);

// fopen with a UTF-8 path.
std::FILE *platformOpenFile(const char *path, const char *mode);

// The same for writing what others should not read, such as logs and recorded speech: a file that
// is made has permissions as platformMakeDirectory says. `mode` begins with "w" or "a".
std::FILE *platformOpenPrivateFile(const char *path, const char *mode);

// Writes to a stream without a buffer, past the C library: one system call. Returns the bytes that
// were written.
size_t platformWriteThrough(std::FILE *stream, const void *data, size_t bytes);

// Where the stream's file ends, in bytes, whoever has written to it; -1 when that is unknown. Later
// writes of a stream that was opened for appending go there.
int64_t platformFileEnd(std::FILE *stream);

// Whether the stream shows on a terminal.
bool platformIsTerminal(std::FILE *stream);

// Sends what the process writes to standard error nowhere, until it is restored with what this
// returned; for libraries that chatter. -1 when it could not.
int32_t platformMuteErrors();
void platformRestoreErrors(int32_t muted);

// Loads a shared library at run time; null when it cannot be loaded. Symbols are null when absent.
void *platformLibraryOpen(const char *path);
void *platformLibrarySymbol(void *library, const char *name);
void platformLibraryClose(void *library);

// The folder of the library or program that holds `address`, without a trailing slash; empty when
// it is unknown.
std::string platformModuleDirectory(const void *address);

// The value of an environment variable; empty when it is not set.
std::string platformEnvironment(const char *name);

} // namespace vantel
