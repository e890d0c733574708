/** @file
 * The speech engine: voice activity detector, grammar compiler and recogniser.
 *
 * This is the contract that libvantel relies on; any library with these functions can take the
 * place of libostrel. Configuration goes in as zero-terminated JSON text, results come back through
 * callbacks on the thread that is calling into the engine for that handle. Audio is 16 kHz, 16-bit
 * signed little-endian mono PCM, 32 bytes a millisecond. Functions that return int32_t give 0 for
 * success or an error code. Different handles may be used on different threads at once; one handle
 * is used by one thread at a time.
 */
#ifndef VANTEL_CONTRACTS_OSTREL_H
#define VANTEL_CONTRACTS_OSTREL_H

#include "contracts/export.h"

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Result of ostrel_asr_feed for an utterance longer than the recogniser takes. */
#define OSTREL_LIMIT_EXCEEDED (-9891)

/** Kind 0 with data is a JSON text of `length` bytes: a status of the detector or a result of the
 * recogniser. Any other kind, from the detector only, is PCM of the speech. The data belongs to the
 * engine and is valid during the call. Returns 0.
 *
 * A status is {"status","offset"} and may have "fed": status 1 when speech began, 2 when it ended;
 * offset and fed in bytes of the audio since the start, fed without the call that delivers the
 * status. The caller keeps the audio of a call when that has returned, and so has what lies before
 * the offset only when this is not above "fed". Without "fed" the caller's buffer is taken to begin
 * at the start. */
typedef int32_t (*ostrel_callback)(void *user, int32_t kind, const void *data, int32_t length);

/** Loads the engine for the process; the configuration is that of vantelInit. */
CONTRACT_API int32_t ostrel_library_load(const char *configuration);
/** With (1, 0, 0): the error code of the failed load. */
CONTRACT_API int32_t ostrel_library_opt(int32_t option, int32_t, int32_t);
/** Undoes the load, when every handle has been deleted. */
CONTRACT_API void ostrel_library_release(void);

/** Makes a detector; null when it cannot be made. */
CONTRACT_API void *ostrel_vad_new(const char *configuration, ostrel_callback callback, void *user);
/** The start text is {"pauseTime": milliseconds of trailing silence that end speech}, or null. */
CONTRACT_API int32_t ostrel_vad_start(void *handle, const char *startText);
/** Feeds audio; statuses and speech that are ready are delivered before this returns. An utterance
 * is ended after a bounded time, whatever is heard (libostrel: "maxSpeech", a minute): libvantel
 * keeps the audio of a turn for its measurement, 32 kB a second, until the turn ends. */
CONTRACT_API int32_t ostrel_vad_feed(void *handle, const void *pcm, int32_t bytes);
/** Ends the turn; what was ready is delivered before this returns. */
CONTRACT_API int32_t ostrel_vad_stop(void *handle);
/** Frees the detector. */
CONTRACT_API int32_t ostrel_vad_delete(void *handle);

/** Makes a compiler; null when it cannot be made. */
CONTRACT_API void *ostrel_gram_new(const char *configuration);
/** Compiles the grammar that the configuration names; the handle is deleted afterwards. */
CONTRACT_API int32_t ostrel_gram_start(void *handle, const char *configuration);
/** Frees the compiler; what it has compiled stays. */
CONTRACT_API int32_t ostrel_gram_delete(void *handle);

/** Makes a recogniser; null when it cannot be made. */
CONTRACT_API void *ostrel_asr_new(const char *configuration, ostrel_callback callback, void *user);
/** The start text is {"env": "name=value;..."}. */
CONTRACT_API int32_t ostrel_asr_start(void *handle, const char *startText);
/** Feeds speech: 0, OSTREL_LIMIT_EXCEEDED, or another error. Partial results are delivered before
 * this returns. */
CONTRACT_API int32_t ostrel_asr_feed(void *handle, const void *pcm, int32_t bytes);
/** Ends the utterance: the final result is delivered before this returns. */
CONTRACT_API int32_t ostrel_asr_stop(void *handle);
/** Drops the utterance: nothing is delivered. */
CONTRACT_API int32_t ostrel_asr_cancel(void *handle);
/** Frees the recogniser. */
CONTRACT_API int32_t ostrel_asr_delete(void *handle);

#ifdef __cplusplus
}
#endif

#endif
