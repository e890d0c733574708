/* The clock behind a bus's timers, for programs that cannot wait for the wall's. */
#ifndef VANTEL_QUILLON_CLOCK_H
#define VANTEL_QUILLON_CLOCK_H

#include "contracts/export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Moves the bus's clock on by `milliseconds` (0 or more): timers that are due then expire, in the
 * order in which they were due. Any thread; returns at once. 0, or -1. */
CONTRACT_API int32_t quillon_clock_advance(void *bus, int32_t milliseconds);

#ifdef __cplusplus
}
#endif

#endif
