// Which mutex guards what, in a form that clang checks (-Wthread-safety, in `./check --style`); for
// other compilers the marks are nothing.
#pragma once

#include <mutex>

#if defined(__clang__)
#define VANTEL_THREAD_MARK(...) __attribute__((__VA_ARGS__))
#else
#define VANTEL_THREAD_MARK(...)
#endif

// Of a variable: read and written only while the mutex is held.
#define GUARDED_BY(mutex) VANTEL_THREAD_MARK(guarded_by(mutex))
// Of a function: called only while the mutex is held.
#define REQUIRES(mutex) VANTEL_THREAD_MARK(requires_capability(mutex))

namespace vantel
{

// The standard mutex, of which clang knows nothing.
class VANTEL_THREAD_MARK(capability("mutex")) Mutex
{
public:
    void lock() VANTEL_THREAD_MARK(acquire_capability()) { mutex_.lock(); }
    void unlock() VANTEL_THREAD_MARK(release_capability()) { mutex_.unlock(); }

private:
    std::mutex mutex_;
};

// Holds the mutex for its own lifetime.
class VANTEL_THREAD_MARK(scoped_lockable) MutexLock
{
public:
    explicit MutexLock(Mutex &mutex) VANTEL_THREAD_MARK(acquire_capability(mutex)) : mutex_(mutex)
    {
        mutex_.lock();
    }
    ~MutexLock() VANTEL_THREAD_MARK(release_capability()) { mutex_.unlock(); }
    MutexLock(const MutexLock &) = delete;
    MutexLock &operator=(const MutexLock &) = delete;

private:
    Mutex &mutex_;
};

} // namespace vantel
