// Lets the compiler check the arguments of a function that formats like printf.
#pragma once

// The C99 kind of format on every system; gcc's plain name for it means the system's own.
#ifdef __clang__
#define VANTEL_PRINTF(at, first) __attribute__((format(printf, at, first)))
#else
#define VANTEL_PRINTF(at, first) __attribute__((format(gnu_printf, at, first)))
#endif
