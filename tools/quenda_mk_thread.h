// The threads that run an instance's loops, and a thin wrapper of the kernel mutex.
#pragma once

#include "platform/platform.h"

#include <atomic>
#include <cstdint>

namespace vantel
{

// First member of every record that has a loop of its own. Named, created and joined by one
// controlling thread.
struct ThreadRecord {
    PlatformThread handle = nullptr; // null before create, after a failed create and after join
    uint32_t id = 0;
    const char *name = nullptr; // borrowed; only shown in log lines
    uint32_t stackSize = 0;     // bytes; 0 is the system's default
    // Set when the entry has returned, so that a wait for its loop has a way out.
    std::atomic<int32_t> ended{0};
};

using ThreadEntry = void (*)(void *argument);

// Names the record; it has no thread yet. Returns 0.
int32_t quenda_mk_thread_init(ThreadRecord *record, const char *name);

// Starts `entry` with `argument` on a new thread: 0, or -1 when no thread was made. An exception
// that leaves the entry is logged and ends the thread as a return does.
int32_t quenda_mk_thread_create(ThreadRecord *record, ThreadEntry entry, void *argument);

// Waits for the thread's end and closes its handle: 0, or 1 when the wait fails (no thread).
int32_t quenda_mk_thread_join(ThreadRecord *record);

// Starts a loop: names the record, creates the thread and waits until the entry has set `running`
// or has returned. 0, or -1 (logged) when no thread was made.
int32_t quenda_mk_thread_start(ThreadRecord *record, const char *name,
                               std::atomic<int32_t> *running, ThreadEntry entry, void *argument);

// An unowned kernel mutex, or null, on which lock, unlock and destroy do nothing.
using quenda_mk_mutex = PlatformMutex;

int32_t quenda_mk_mutex_create(quenda_mk_mutex *mutex);  // 0, or -1 with a null mutex
int32_t quenda_mk_mutex_lock(quenda_mk_mutex *mutex);    // waits without limit; 0
int32_t quenda_mk_mutex_unlock(quenda_mk_mutex *mutex);  // 0
int32_t quenda_mk_mutex_destroy(quenda_mk_mutex *mutex); // 0; the mutex is null then

} // namespace vantel
