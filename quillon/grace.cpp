#include "quillon/grace.h"

#include <chrono>
#include <thread>

namespace vantel::quillon
{
namespace
{

// Readings last well under a microsecond unless their thread was suspended in one.
void relax(int round)
{
    if (round < 16)
        std::this_thread::yield();
    else
        std::this_thread::sleep_for(std::chrono::microseconds(100));
}

} // namespace

// New readers count in the other phase from the flip on, so the old one runs dry.
void Grace::waitForPhase()
{
    uint32_t old = phase_.fetch_add(1, std::memory_order_seq_cst) & 1U;
    for (Slot &slot : slots_) {
        for (int round = 0; slot.readers[old].load(std::memory_order_seq_cst) != 0; ++round)
            relax(round);
    }
}

void Grace::wait()
{
    std::lock_guard locked{mutex_};
    // A reader may have read the phase before a flip and counted itself after it; going through
    // both phases finds it wherever it counted.
    waitForPhase();
    waitForPhase();
}

} // namespace vantel::quillon
