// Signals as auto-reset events.
#include "platform/signal.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <algorithm>

namespace vantel
{

PlatformSignal platformSignalCreate()
{
    return CreateEventA(nullptr, FALSE, FALSE, nullptr);
}

void platformSignalDestroy(PlatformSignal signal)
{
    if (signal) CloseHandle(signal);
}

void platformSignalSet(PlatformSignal signal)
{
    SetEvent(signal);
}

bool platformSignalWait(PlatformSignal signal, int64_t nanoseconds)
{
    DWORD milliseconds = INFINITE;
    if (nanoseconds >= 0) {
        // Rounded up, so that the caller does not come back early and spin; INFINITE is no time.
        int64_t wanted = (nanoseconds + 999999) / 1000000;
        milliseconds = static_cast<DWORD>(std::min<int64_t>(wanted, INFINITE - 1));
    }
    return WaitForSingleObject(signal, milliseconds) == WAIT_OBJECT_0;
}

int64_t platformWaitSlack(int64_t)
{
    return 0;
}

} // namespace vantel
