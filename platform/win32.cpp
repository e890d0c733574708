// The platform layer over the Windows kernel and C runtime.
#include "platform/platform.h"
#include "platform/win32_text.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <io.h>
#include <memory>
#include <new>
#include <process.h>
#include <sys/stat.h>

namespace vantel
{
namespace
{

struct Start {
    PlatformThreadStart start;
    void *argument;
};

unsigned __stdcall threadMain(void *opaque)
{
    Start start = *static_cast<Start *>(opaque);
    delete static_cast<Start *>(opaque);
    _endthreadex(start.start(start.argument));
    return 0;
}

} // namespace

PlatformMutex platformMutexCreate()
{
    return CreateMutexA(nullptr, FALSE, nullptr);
}

void platformMutexLock(PlatformMutex mutex)
{
    WaitForSingleObject(mutex, INFINITE);
}

void platformMutexUnlock(PlatformMutex mutex)
{
    ReleaseMutex(mutex);
}

void platformMutexDestroy(PlatformMutex mutex)
{
    if (mutex) CloseHandle(mutex);
}

PlatformThread platformThreadCreate(uint32_t stackBytes, PlatformThreadStart start, void *argument)
{
    std::unique_ptr<Start> context{new (std::nothrow) Start{start, argument}};
    if (!context) return nullptr;
    uintptr_t thread = _beginthreadex(nullptr, stackBytes, threadMain, context.get(), 0, nullptr);
    if (thread == 0) return nullptr;
    context.release(); // the thread frees it
    return reinterpret_cast<PlatformThread>(thread);
}

PlatformWait platformThreadWait(PlatformThread thread)
{
    switch (WaitForSingleObject(thread, INFINITE)) {
    case WAIT_OBJECT_0:
        return PlatformWait::signalled;
    case WAIT_FAILED:
        return PlatformWait::failed;
    default:
        return PlatformWait::other;
    }
}

bool platformThreadExitCode(PlatformThread thread, uint32_t *exitCode)
{
    DWORD code = 0;
    if (!GetExitCodeThread(thread, &code)) return false;
    *exitCode = code;
    return true;
}

void platformThreadClose(PlatformThread thread)
{
    if (thread) CloseHandle(thread);
}

uint32_t platformLastError()
{
    return GetLastError();
}

uint32_t platformThreadId()
{
    return GetCurrentThreadId();
}

uint32_t platformProcessId()
{
    return static_cast<uint32_t>(_getpid());
}

LocalTime platformLocalTime()
{
    SYSTEMTIME now;
    GetLocalTime(&now);
    return {now.wYear,   now.wMonth,  now.wDay,         now.wHour,
            now.wMinute, now.wSecond, now.wMilliseconds};
}

int64_t platformWallClockMs()
{
    // Counted in units of 100 ns from the year 1601.
    constexpr int64_t kEpochMs = 11644473600000;
    FILETIME now;
    GetSystemTimeAsFileTime(&now);
    uint64_t units = static_cast<uint64_t>(now.dwHighDateTime) << 32 | now.dwLowDateTime;
    return static_cast<int64_t>(units / 10000) - kEpochMs;
}

int64_t platformLocalToEpoch(const LocalTime &local)
{
    tm parts{};
    parts.tm_year = local.year - 1900;
    parts.tm_mon = local.month - 1;
    parts.tm_mday = local.day;
    parts.tm_hour = local.hour;
    parts.tm_min = local.minute;
    parts.tm_sec = local.second;
    parts.tm_isdst = -1;
    return _mktime64(&parts);
}

bool platformEpochToUtc(int64_t seconds, LocalTime *utc)
{
    // The C runtime's buffer belongs to the calling thread.
    const tm *parts = _gmtime64(&seconds);
    if (!parts) return false;
    *utc = {parts->tm_year + 1900,
            parts->tm_mon + 1,
            parts->tm_mday,
            parts->tm_hour,
            parts->tm_min,
            parts->tm_sec,
            0};
    return true;
}

uint64_t platformPerformanceCounter()
{
    LARGE_INTEGER counter;
    QueryPerformanceCounter(&counter);
    return static_cast<uint64_t>(counter.QuadPart);
}

uint64_t platformPerformanceFrequency()
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<uint64_t>(frequency.QuadPart);
}

bool platformPathExists(const char *path)
{
    return _waccess(widen(path).c_str(), 0) == 0;
}

int32_t platformMakeDirectory(const char *path)
{
    return _wmkdir(widen(path).c_str()) == 0 ? 0 : -1;
}

bool platformIsRegularFile(const char *path)
{
    struct _stat64 status {
    };
    return _wstat64(widen(path).c_str(), &status) == 0 && (status.st_mode & _S_IFREG) != 0;
}

std::FILE *platformOpenFile(const char *path, const char *mode)
{
    return _wfopen(widen(path).c_str(), widen(mode).c_str());
}

std::FILE *platformOpenPrivateFile(const char *path, const char *mode)
{
    return platformOpenFile(path, mode);
}

bool platformIsTerminal(std::FILE *stream)
{
    return _isatty(_fileno(stream)) != 0;
}

int32_t platformMuteErrors()
{
    std::fflush(stderr);
    int32_t kept = _dup(_fileno(stderr));
    int32_t nowhere = _open("NUL", _O_WRONLY);
    if (kept >= 0 && nowhere >= 0) _dup2(nowhere, _fileno(stderr));
    if (nowhere >= 0) _close(nowhere);
    return kept;
}

void platformRestoreErrors(int32_t muted)
{
    if (muted < 0) return;
    std::fflush(stderr);
    _dup2(muted, _fileno(stderr));
    _close(muted);
}

size_t platformWriteThrough(std::FILE *stream, const void *data, size_t bytes)
{
    int written = _write(_fileno(stream), data, static_cast<unsigned>(bytes));
    return written < 0 ? 0 : static_cast<size_t>(written);
}

int64_t platformFileEnd(std::FILE *stream)
{
    return _lseeki64(_fileno(stream), 0, SEEK_END);
}

void *platformLibraryOpen(const char *path)
{
    // The libraries beside it are only looked for beside it when it is named with backslashes.
    std::wstring native = widen(path);
    std::replace(native.begin(), native.end(), L'/', L'\\');
    return LoadLibraryExW(native.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
}

void *platformLibrarySymbol(void *library, const char *name)
{
    return reinterpret_cast<void *>(GetProcAddress(static_cast<HMODULE>(library), name));
}

void platformLibraryClose(void *library)
{
    if (library) FreeLibrary(static_cast<HMODULE>(library));
}

std::string platformModuleDirectory(const void *address)
{
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            static_cast<LPCWSTR>(address), &module)) {
        return {};
    }
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size())));
    std::string folder = narrow(path.c_str());
    for (char &c : folder) {
        if (c == '\\') c = '/';
    }
    size_t slash = folder.rfind('/');
    return slash == std::string::npos ? "." : folder.substr(0, slash);
}

std::string platformEnvironment(const char *name)
{
    const wchar_t *value = _wgetenv(widen(name).c_str());
    return value ? narrow(value) : "";
}

} // namespace vantel
