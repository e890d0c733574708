// Signals over the kernel's wait on a word: one system call to set a waiting one, one to wait.
#include "platform/signal.h"

#include <atomic>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vantel
{
namespace
{

using Word = std::atomic<uint32_t>;

static_assert(sizeof(Word) == sizeof(uint32_t) && Word::is_always_lock_free);

constexpr int64_t kNanosecondsPerSecond = 1000000000;

long futex(Word *word, int operation, uint32_t value, const timespec *timeout)
{
    return syscall(SYS_futex, word, operation | FUTEX_PRIVATE_FLAG, value, timeout, nullptr, 0);
}

} // namespace

PlatformSignal platformSignalCreate()
{
    return new (std::nothrow) Word{0};
}

void platformSignalDestroy(PlatformSignal signal)
{
    delete static_cast<Word *>(signal);
}

void platformSignalSet(PlatformSignal signal)
{
    Word *word = static_cast<Word *>(signal);
    // The waiting thread may free the word as soon as it reads 1; the kernel only compares the
    // address then, and a wake-up that finds nobody is harmless.
    if (word->exchange(1, std::memory_order_release) == 0) futex(word, FUTEX_WAKE, 1, nullptr);
}

bool platformSignalWait(PlatformSignal signal, int64_t nanoseconds)
{
    Word *word = static_cast<Word *>(signal);
    if (word->exchange(0, std::memory_order_acquire) == 1) return true;
    if (nanoseconds < 0) {
        futex(word, FUTEX_WAIT, 0, nullptr);
    } else {
        timespec timeout{static_cast<time_t>(nanoseconds / kNanosecondsPerSecond),
                         static_cast<long>(nanoseconds % kNanosecondsPerSecond)};
        futex(word, FUTEX_WAIT, 0, &timeout);
    }
    return word->exchange(0, std::memory_order_acquire) == 1;
}

int64_t platformWaitSlack(int64_t nanoseconds)
{
    long before = prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0);
    prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(nanoseconds), 0, 0, 0);
    return before;
}

} // namespace vantel
