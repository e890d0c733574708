#include "contracts/ostrel.h"

// Placeholder until the engine lands: nothing can be loaded.
int32_t ostrel_library_load(const char *) { return -1; }
int32_t ostrel_library_opt(int32_t, int32_t, int32_t) { return -1; }
void ostrel_library_release(void) {}
void *ostrel_vad_new(const char *, ostrel_callback, void *) { return nullptr; }
int32_t ostrel_vad_start(void *, const char *) { return -1; }
int32_t ostrel_vad_feed(void *, const void *, int32_t) { return -1; }
int32_t ostrel_vad_stop(void *) { return -1; }
int32_t ostrel_vad_delete(void *) { return -1; }
void *ostrel_gram_new(const char *) { return nullptr; }
int32_t ostrel_gram_start(void *, const char *) { return -1; }
int32_t ostrel_gram_delete(void *) { return -1; }
void *ostrel_asr_new(const char *, ostrel_callback, void *) { return nullptr; }
int32_t ostrel_asr_start(void *, const char *) { return -1; }
int32_t ostrel_asr_feed(void *, const void *, int32_t) { return -1; }
int32_t ostrel_asr_stop(void *) { return -1; }
int32_t ostrel_asr_cancel(void *) { return -1; }
int32_t ostrel_asr_delete(void *) { return -1; }
