// A pointer that every thread has for itself, and that is freed when the thread ends.
//
// thread_local objects with destructors cannot be relied on in a library that is loaded at run
// time, on every system that this one is built for.
#pragma once

#include <cstdint>

namespace vantel
{

using PlatformThreadKey = uint32_t;

// `release` gets what a thread has left, unless it is null. False when the system has no more keys.
bool platformThreadKeyCreate(PlatformThreadKey *key, void (*release)(void *value));

// Values that threads still have are released where the system can tell them, else lost.
void platformThreadKeyDestroy(PlatformThreadKey key);

// Null until the calling thread has set a value.
void *platformThreadValue(PlatformThreadKey key);

// Replaces the calling thread's value and releases nothing. False without memory.
bool platformThreadValueSet(PlatformThreadKey key, void *value);

} // namespace vantel
