// A program's standard streams, and the ways in which it is told to end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace vantel
{

// A stream of the program's own to where standard output goes. What anybody writes to standard
// output from then on goes to standard error. Null when there is no standard output. Once, at the
// start.
std::FILE *platformTakeOutput();

// Reads what there is of standard input, byte for byte; waits while there is nothing. 0 at the end,
// when it cannot be read, and once the program was interrupted.
size_t platformReadInput(void *out, size_t bytes);

// From then on the first interrupt (the key, a request to end, the end of the terminal) is only
// noted, and the second ends the program at once; writing to a closed pipe fails.
void platformCatchInterrupts();
bool platformInterrupted();

} // namespace vantel
