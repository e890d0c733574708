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

// Empty, set, or empty with a thread waiting, so that a set without one costs no system call.
using Word = std::atomic<uint32_t>;
enum State : uint32_t { kEmpty, kSet, kAwaited };

static_assert(sizeof(Word) == sizeof(uint32_t) && Word::is_always_lock_free);

constexpr int64_t kNanosecondsPerSecond = 1000000000;

long futex(Word *word, int operation, uint32_t value, const timespec *timeout)
{
    return syscall(SYS_futex, word, operation | FUTEX_PRIVATE_FLAG, value, timeout, nullptr, 0);
}

} // namespace

PlatformSignal platformSignalCreate()
{
    return new (std::nothrow) Word{kEmpty};
}

void platformSignalDestroy(PlatformSignal signal)
{
    delete static_cast<Word *>(signal);
}

void platformSignalSet(PlatformSignal signal)
{
    Word *word = static_cast<Word *>(signal);
    // The waiting thread may free the word as soon as it sees the set; the kernel only compares the
    // address then, and a wake-up that finds nobody is harmless.
    if (word->exchange(kSet, std::memory_order_release) == kAwaited)
        futex(word, FUTEX_WAKE, 1, nullptr);
}

bool platformSignalWait(PlatformSignal signal, int64_t nanoseconds)
{
    Word *word = static_cast<Word *>(signal);
    uint32_t state = kEmpty;
    if (word->compare_exchange_strong(state, kAwaited, std::memory_order_acquire)) {
        timespec timeout{static_cast<time_t>(nanoseconds / kNanosecondsPerSecond),
                         static_cast<long>(nanoseconds % kNanosecondsPerSecond)};
        futex(word, FUTEX_WAIT, kAwaited, nanoseconds < 0 ? nullptr : &timeout);
    }
    return word->exchange(kEmpty, std::memory_order_acquire) == kSet;
}

int64_t platformWaitSlack(int64_t nanoseconds)
{
    long before = prctl(PR_GET_TIMERSLACK, 0, 0, 0, 0);
    prctl(PR_SET_TIMERSLACK, static_cast<unsigned long>(nanoseconds), 0, 0, 0);
    return before;
}

} // namespace vantel
