#include "contracts/ostrel.h"

// Placeholder until the recogniser lands.
void *ostrel_asr_new(const char *, ostrel_callback, void *) { return nullptr; }
int32_t ostrel_asr_start(void *, const char *) { return -1; }
int32_t ostrel_asr_feed(void *, const void *, int32_t) { return -1; }
int32_t ostrel_asr_stop(void *) { return -1; }
int32_t ostrel_asr_cancel(void *) { return -1; }
int32_t ostrel_asr_delete(void *) { return -1; }
