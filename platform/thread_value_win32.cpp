// The threads' values as fiber-local storage, which, unlike thread-local storage, tells of a
// thread's end.
#include "platform/thread_value.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vantel
{

bool platformThreadKeyCreate(PlatformThreadKey *key, void (*release)(void *value))
{
    static_assert(sizeof(DWORD) == sizeof(PlatformThreadKey));
    *key = FlsAlloc(release);
    return *key != FLS_OUT_OF_INDEXES;
}

void platformThreadKeyDestroy(PlatformThreadKey key)
{
    FlsFree(key);
}

void *platformThreadValue(PlatformThreadKey key)
{
    return FlsGetValue(key);
}

bool platformThreadValueSet(PlatformThreadKey key, void *value)
{
    return FlsSetValue(key, value) != 0;
}

} // namespace vantel
