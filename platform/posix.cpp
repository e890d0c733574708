// The platform layer over POSIX threads, clocks and files.
#include "platform/platform.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <fcntl.h>
#include <iostream>
#include <memory>
#include <new>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vantel
{
namespace
{

struct Thread {
    pthread_t id;
    PlatformThreadStart start;
    void *argument;
    uint32_t exitCode;
};

void *threadMain(void *opaque)
{
    Thread *thread = static_cast<Thread *>(opaque);
    thread->exitCode = thread->start(thread->argument);
    return nullptr;
}

// Process and thread id cost a system call each; every log line needs them. A fork makes them
// stale, so the child forgets them.
thread_local uint32_t cachedThreadId = 0;
uint32_t cachedProcessId = 0;

void forgetIdsInChild()
{
    cachedThreadId = 0;
    cachedProcessId = static_cast<uint32_t>(getpid());
}

[[maybe_unused]] const bool idsWatched = [] {
    cachedProcessId = static_cast<uint32_t>(getpid());
    pthread_atfork(nullptr, nullptr, forgetIdsInChild);
    return true;
}();

} // namespace

PlatformMutex platformMutexCreate()
{
    pthread_mutexattr_t attributes;
    if (pthread_mutexattr_init(&attributes) != 0) return nullptr;
    pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE); // as a Windows mutex is
    std::unique_ptr<pthread_mutex_t> mutex{new (std::nothrow) pthread_mutex_t};
    if (mutex && pthread_mutex_init(mutex.get(), &attributes) != 0) mutex.reset();
    pthread_mutexattr_destroy(&attributes);
    return mutex.release();
}

void platformMutexLock(PlatformMutex mutex)
{
    pthread_mutex_lock(static_cast<pthread_mutex_t *>(mutex));
}

void platformMutexUnlock(PlatformMutex mutex)
{
    pthread_mutex_unlock(static_cast<pthread_mutex_t *>(mutex));
}

void platformMutexDestroy(PlatformMutex mutex)
{
    std::unique_ptr<pthread_mutex_t> owned{static_cast<pthread_mutex_t *>(mutex)};
    if (owned) pthread_mutex_destroy(owned.get());
}

PlatformThread platformThreadCreate(uint32_t stackBytes, PlatformThreadStart start, void *argument)
{
    std::unique_ptr<Thread> thread{new (std::nothrow) Thread{{}, start, argument, 0}};
    if (!thread) return nullptr;
    pthread_attr_t attributes;
    if (int error = pthread_attr_init(&attributes); error != 0) {
        errno = error;
        return nullptr;
    }
    int error = stackBytes > 0 ? pthread_attr_setstacksize(&attributes, stackBytes) : 0;
    if (error == 0) error = pthread_create(&thread->id, &attributes, threadMain, thread.get());
    pthread_attr_destroy(&attributes);
    if (error != 0) {
        errno = error;
        return nullptr;
    }
    return thread.release();
}

PlatformWait platformThreadWait(PlatformThread thread)
{
    int error = thread ? pthread_join(static_cast<Thread *>(thread)->id, nullptr) : EINVAL;
    if (error != 0) errno = error;
    return error == 0 ? PlatformWait::signalled : PlatformWait::failed;
}

bool platformThreadExitCode(PlatformThread thread, uint32_t *exitCode)
{
    if (!thread) {
        errno = EINVAL;
        return false;
    }
    *exitCode = static_cast<Thread *>(thread)->exitCode;
    return true;
}

void platformThreadClose(PlatformThread thread)
{
    delete static_cast<Thread *>(thread);
}

uint32_t platformLastError()
{
    return static_cast<uint32_t>(errno);
}

uint32_t platformThreadId()
{
    if (cachedThreadId == 0) cachedThreadId = static_cast<uint32_t>(syscall(SYS_gettid));
    return cachedThreadId;
}

uint32_t platformProcessId()
{
    return cachedProcessId;
}

LocalTime platformLocalTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    return {parts.tm_year + 1900,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            parts.tm_sec,
            static_cast<int32_t>(now.tv_nsec / 1000000)};
}

int64_t platformWallClockMs()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
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
    return mktime(&parts);
}

bool platformEpochToUtc(int64_t seconds, LocalTime *utc)
{
    time_t time = seconds;
    tm parts{};
    if (!gmtime_r(&time, &parts)) return false;
    *utc = {parts.tm_year + 1900,
            parts.tm_mon + 1,
            parts.tm_mday,
            parts.tm_hour,
            parts.tm_min,
            parts.tm_sec,
            0};
    return true;
}

uint64_t platformPerformanceCounter()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000U + static_cast<uint64_t>(now.tv_nsec);
}

uint64_t platformPerformanceFrequency()
{
    return 1000000000U;
}

bool platformPathExists(const char *path)
{
    return access(path, F_OK) == 0;
}

int32_t platformMakeDirectory(const char *path)
{
    return mkdir(path, 0700) == 0 ? 0 : -1;
}

bool platformIsRegularFile(const char *path)
{
    struct stat status {
    };
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

std::FILE *platformOpenFile(const char *path, const char *mode)
{
    return std::fopen(path, mode);
}

std::FILE *platformOpenPrivateFile(const char *path, const char *mode)
{
    int flags = O_CREAT | O_CLOEXEC | (*mode == 'a' ? O_APPEND : O_TRUNC);
    flags |= std::strchr(mode, '+') ? O_RDWR : O_WRONLY;
    int descriptor = open(path, flags, 0600);
    if (descriptor < 0) return nullptr;
    std::FILE *file = fdopen(descriptor, mode);
    if (!file) close(descriptor);
    return file;
}

bool platformIsTerminal(std::FILE *stream)
{
    return isatty(fileno(stream)) != 0;
}

int32_t platformMuteErrors()
{
    std::fflush(stderr);
    int32_t kept = dup(fileno(stderr));
    int32_t nowhere = open("/dev/null", O_WRONLY);
    if (kept >= 0 && nowhere >= 0) dup2(nowhere, fileno(stderr));
    if (nowhere >= 0) close(nowhere);
    return kept;
}

void platformRestoreErrors(int32_t muted)
{
    if (muted < 0) return;
    std::fflush(stderr);
    dup2(muted, fileno(stderr));
    close(muted);
}

size_t platformWriteThrough(std::FILE *stream, const void *data, size_t bytes)
{
    ssize_t written = 0;
    do {
        written = write(fileno(stream), data, bytes);
    } while (written < 0 && errno == EINTR);
    return written < 0 ? 0 : static_cast<size_t>(written);
}

int64_t platformFileEnd(std::FILE *stream)
{
    return lseek(fileno(stream), 0, SEEK_END);
}

namespace
{

// A library that brings parts of its own, such as fast linear algebra, is to use these and not
// those of the same names that are loaded already. The sanitizers do not allow that.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kItsOwnFirst = 0;
#elif defined(__has_feature)
constexpr int kItsOwnFirst =
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer) ? 0 : RTLD_DEEPBIND;
#else
constexpr int kItsOwnFirst = RTLD_DEEPBIND;
#endif

// With its own first, the library also takes the standard library's error stream where the program
// has a copy of it that everybody else uses: that one was never set up.
void setUpErrorStream(void *library)
{
    void *stream = dlsym(library, "_ZSt4cerr");
    if (!stream || stream == &std::cerr) return;
    void *table = nullptr; // the first thing in a stream that was set up
    std::memcpy(&table, stream, sizeof table);
    if (!table) new (stream) std::ostream{std::cerr.rdbuf()};
}

} // namespace

void *platformLibraryOpen(const char *path)
{
    void *library = dlopen(path, RTLD_NOW | RTLD_LOCAL | kItsOwnFirst);
    if (library && kItsOwnFirst != 0) setUpErrorStream(library);
    return library;
}

void *platformLibrarySymbol(void *library, const char *name)
{
    return dlsym(library, name);
}

void platformLibraryClose(void *library)
{
    if (library) dlclose(library);
}

std::string platformModuleDirectory(const void *address)
{
    Dl_info module{};
    if (dladdr(address, &module) == 0 || !module.dli_fname) return {};
    std::unique_ptr<char, decltype(&std::free)> path{realpath(module.dli_fname, nullptr),
                                                     std::free};
    std::string folder = path ? path.get() : module.dli_fname;
    size_t slash = folder.rfind('/');
    return slash == std::string::npos ? "." : folder.substr(0, slash);
}

std::string platformEnvironment(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

} // namespace vantel
