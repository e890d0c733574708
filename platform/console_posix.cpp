// Standard streams as descriptors; interrupts are signals.
#include "platform/console.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace vantel
{
namespace
{

std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "a signal's handler stores it");

void onInterrupt(int)
{
    interrupted = true;
}

} // namespace

std::FILE *platformTakeOutput()
{
    std::fflush(stdout);
    const int own = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (own < 0) return nullptr;
    dup2(STDERR_FILENO, STDOUT_FILENO);
    return fdopen(own, "w");
}

size_t platformReadInput(void *out, size_t bytes)
{
    // A signal may arrive between the question and the wait, or on another thread.
    constexpr int kLookAroundMs = 100;
    while (!interrupted) {
        pollfd input{STDIN_FILENO, POLLIN, 0};
        const int ready = poll(&input, 1, kLookAroundMs);
        if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
        const ssize_t taken = read(STDIN_FILENO, out, bytes);
        if (taken < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        return taken > 0 ? static_cast<size_t>(taken) : 0;
    }
    return 0;
}

void platformCatchInterrupts()
{
    struct sigaction action {
    };
    action.sa_handler = onInterrupt;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    for (int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // Who starts the program may have it ignore one, as nohup does.
        struct sigaction before {
        };
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
    std::signal(SIGPIPE, SIG_IGN);
}

bool platformInterrupted()
{
    return interrupted;
}

} // namespace vantel
