// The threads' values as thread-specific data.
#include "platform/thread_value.h"

#include <pthread.h>

namespace vantel
{

bool platformThreadKeyCreate(PlatformThreadKey *key, void (*release)(void *value))
{
    static_assert(sizeof(pthread_key_t) == sizeof(PlatformThreadKey));
    return pthread_key_create(key, release) == 0;
}

void platformThreadKeyDestroy(PlatformThreadKey key)
{
    pthread_key_delete(key);
}

void *platformThreadValue(PlatformThreadKey key)
{
    return pthread_getspecific(key);
}

bool platformThreadValueSet(PlatformThreadKey key, void *value)
{
    return pthread_setspecific(key, value) == 0;
}

} // namespace vantel
