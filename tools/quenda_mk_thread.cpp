#include "tools/quenda_mk_thread.h"

#include "tools/log.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <new>
#include <thread>

#define THREAD_LOG(level, ...) VANTEL_LOG("tools/quenda_mk_thread", level, __VA_ARGS__)

namespace vantel
{
namespace
{

constexpr char kTag[] = "ZQ-thread";

struct StartContext {
    ThreadEntry entry;
    void *argument;
    std::atomic<int32_t> *ended;
};

uint32_t trampoline(void *opaque)
{
    std::unique_ptr<StartContext> context{static_cast<StartContext *>(opaque)};
    // Above a thread's entry nobody is left to catch what escapes from it.
    try {
        context->entry(context->argument);
    } catch (const std::exception &error) {
        THREAD_LOG(kError, "  %s thread ended by: %s\n", kTag, error.what());
    }
    context->ended->store(1, std::memory_order_release);
    return 0;
}

// The log shows a handle as a 32-bit number.
int shown(PlatformThread handle)
{
    return static_cast<int>(reinterpret_cast<intptr_t>(handle));
}

} // namespace

int32_t quenda_mk_thread_init(ThreadRecord *record, const char *name)
{
    record->handle = nullptr;
    record->id = 0;
    record->name = name;
    record->stackSize = 0;
    record->ended.store(0, std::memory_order_relaxed);
    return 0;
}

int32_t quenda_mk_thread_create(ThreadRecord *record, ThreadEntry entry, void *argument)
{
    std::unique_ptr<StartContext> context{new (std::nothrow)
                                              StartContext{entry, argument, &record->ended}};
    if (!context) return -1;
    record->handle = platformThreadCreate(record->stackSize, trampoline, context.get());
    // The new thread frees the context.
    if (record->handle) static_cast<void>(context.release());
    THREAD_LOG(kInfo, "  %s 创建线程， handle: %d, name: %s\n", kTag, shown(record->handle),
               orNull(record->name));
    return record->handle ? 0 : -1;
}

int32_t quenda_mk_thread_join(ThreadRecord *record)
{
    switch (platformThreadWait(record->handle)) {
    case PlatformWait::failed:
        THREAD_LOG(kError, "  %s 等待线程退出等待失败。错误代码：%lu\n", kTag,
                   asLu(platformLastError()));
        return 1;
    case PlatformWait::signalled:
        THREAD_LOG(kInfo, "  %s 线程正常退出, ret: %d, handle: %d, threadName:%s\n", kTag, 0,
                   shown(record->handle), orNull(record->name));
        break;
    case PlatformWait::other:
        break;
    }
    uint32_t exitCode = 0;
    if (platformThreadExitCode(record->handle, &exitCode)) {
        THREAD_LOG(kInfo, "  %s 线程的返回值是%lu\n", kTag, asLu(exitCode));
    } else {
        THREAD_LOG(kInfo, "  %s 获取线程的返回值获取失败。错误代码：%lu\n", kTag,
                   asLu(platformLastError()));
    }
    platformThreadClose(record->handle);
    record->handle = nullptr;
    return 0;
}

int32_t quenda_mk_thread_start(ThreadRecord *record, const char *name,
                               std::atomic<int32_t> *running, ThreadEntry entry, void *argument)
{
    quenda_mk_thread_init(record, name);
    running->store(0, std::memory_order_relaxed);
    if (quenda_mk_thread_create(record, entry, argument) != 0) {
        THREAD_LOG(kError, "  %s thread not created, name: %s\n", kTag, name);
        return -1;
    }
    // A loop that returns at once clears `running` again, perhaps unseen; then `ended` is set.
    while (running->load(std::memory_order_acquire) == 0 &&
           record->ended.load(std::memory_order_acquire) == 0) {
        std::this_thread::yield();
    }
    return 0;
}

int32_t quenda_mk_mutex_create(quenda_mk_mutex *mutex)
{
    *mutex = platformMutexCreate();
    return *mutex ? 0 : -1;
}

int32_t quenda_mk_mutex_lock(quenda_mk_mutex *mutex)
{
    if (*mutex) platformMutexLock(*mutex);
    return 0;
}

int32_t quenda_mk_mutex_unlock(quenda_mk_mutex *mutex)
{
    if (*mutex) platformMutexUnlock(*mutex);
    return 0;
}

int32_t quenda_mk_mutex_destroy(quenda_mk_mutex *mutex)
{
    if (*mutex) platformMutexDestroy(*mutex);
    *mutex = nullptr;
    return 0;
}

} // namespace vantel
