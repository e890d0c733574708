#include "contracts/ostrel.h"

// Placeholder until the compiler lands.
void *ostrel_gram_new(const char *) { return nullptr; }
int32_t ostrel_gram_start(void *, const char *) { return -1; }
int32_t ostrel_gram_delete(void *) { return -1; }
