// Standard streams as the C runtime's descriptors; interrupts are its signals.
#include "platform/console.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <io.h>

namespace vantel
{
namespace
{

std::atomic<bool> interrupted{false};

void onInterrupt(int)
{
    interrupted = true; // the runtime takes the handler away, so that the second one ends
}

} // namespace

std::FILE *platformTakeOutput()
{
    std::fflush(stdout);
    const int own = _dup(_fileno(stdout));
    if (own < 0) return nullptr;
    _dup2(_fileno(stderr), _fileno(stdout));
    return _fdopen(own, "w");
}

size_t platformReadInput(void *out, size_t bytes)
{
    _setmode(_fileno(stdin), _O_BINARY);
    if (interrupted) return 0;
    const int taken = _read(_fileno(stdin), out, static_cast<unsigned>(bytes));
    return taken > 0 ? static_cast<size_t>(taken) : 0;
}

void platformCatchInterrupts()
{
    for (int signal : {SIGINT, SIGTERM, SIGBREAK})
        std::signal(signal, onInterrupt);
}

bool platformInterrupted()
{
    return interrupted;
}

} // namespace vantel
