// A speech engine that does what a test tells it: the whole contract of contracts/ostrel.h, as a
// shared library of the real one's name. It records every call and delivers queued callbacks from
// inside start, feed and stop. Control functions may be called from any thread.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#if defined(_WIN32)
#define SCRIPTED_API __attribute__((dllexport))
#else
#define SCRIPTED_API __attribute__((visibility("default")))
#endif

namespace scripted
{

struct Call {
    std::string function; // "ostrel_vad_feed"
    std::string text;     // its configuration or start text; "(null)" for null
    std::string pcm;      // the bytes fed
};

// Forgets calls, results and queued callbacks. Live handles stay usable.
SCRIPTED_API void reset();

// What the function returns from now on; for ..._new anything but 0 gives a null handle.
// ostrel_library_opt returns -42 until told otherwise, all others 0.
SCRIPTED_API void setResult(const std::string &function, int32_t result);

// Queues a callback, delivered inside the next call of "ostrel_vad_feed" or another start, feed or
// stop; callbacks of one function come in the order in which they were queued, all in one call.
// With `afterBytes`: inside the feed call in which the bytes fed since the last start reach them.
SCRIPTED_API void emit(const std::string &function, int32_t kind, const std::string &data,
                       int64_t afterBytes = 0);

// From now on nothing is recorded, for runs of any length, and every turn goes well: the detector
// hears speech from 100 ms to 500 ms of what it is fed and passes it on, and the recogniser, when
// it is stopped, has recognised "open".
SCRIPTED_API void playTurns();

// Lets the call of that number from now on, whatever its function, fail; 0: none. And how many
// calls there were since.
SCRIPTED_API void failCall(int64_t number);
SCRIPTED_API int64_t countedCalls();

// The calls so far, in order, of functions that begin with `prefix`; and their names.
SCRIPTED_API std::vector<Call> calls(const std::string &prefix = "");
SCRIPTED_API std::vector<std::string> callNames(const std::string &prefix = "");

// Handles that were made and not deleted.
SCRIPTED_API int32_t liveHandles();

} // namespace scripted
