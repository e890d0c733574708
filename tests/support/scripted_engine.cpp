#include "tests/support/scripted_engine.h"

#include "contracts/ostrel.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>

namespace scripted
{
namespace
{

struct Emission {
    int32_t kind;
    std::string data;
    int64_t afterBytes;
};

struct Handle {
    Part part;
    ostrel_callback callback;
    void *user;
    int64_t fedBytes = 0; // since the last start
};

struct Script {
    std::mutex mutex;
    std::vector<Call> calls;
    std::map<std::string, int32_t> results;
    std::map<std::pair<Part, Moment>, std::vector<Emission>> queued;
    std::set<void *> live;
};

Script &script()
{
    static Script *theScript = new Script; // outlives every thread
    return *theScript;
}

void record(const std::string &function, const char *text, const void *pcm = nullptr,
            int32_t bytes = 0)
{
    std::lock_guard locked{script().mutex};
    const char *begin = static_cast<const char *>(pcm);
    script().calls.push_back({function, text ? text : "(null)",
                              begin ? std::string(begin, static_cast<size_t>(bytes)) : ""});
}

int32_t resultOf(const std::string &function)
{
    std::lock_guard locked{script().mutex};
    auto found = script().results.find(function);
    if (found != script().results.end()) return found->second;
    return function == "ostrel_library_opt" ? -42 : 0;
}

// What is due now is taken out first: a callback may come back into this library.
std::vector<Emission> takeDue(Handle *handle, Moment moment)
{
    std::lock_guard locked{script().mutex};
    std::vector<Emission> &queue = script().queued[{handle->part, moment}];
    auto isLater = [handle](const Emission &emission) {
        return emission.afterBytes > handle->fedBytes;
    };
    auto firstDue = std::stable_partition(queue.begin(), queue.end(), isLater);
    std::vector<Emission> due(firstDue, queue.end());
    queue.erase(firstDue, queue.end());
    return due;
}

void deliver(Handle *handle, Moment moment)
{
    for (const Emission &emission : takeDue(handle, moment)) {
        // Copied to a block of exactly its size, so that a read beyond the length is seen.
        std::vector<char> exact(emission.data.begin(), emission.data.end());
        handle->callback(handle->user, emission.kind, exact.empty() ? nullptr : exact.data(),
                         static_cast<int32_t>(exact.size()));
    }
}

void *make(const char *function, Part part, const char *text, ostrel_callback callback, void *user)
{
    record(function, text);
    if (resultOf(function) != 0) return nullptr;
    Handle *handle = new Handle{part, callback, user};
    std::lock_guard locked{script().mutex};
    script().live.insert(handle);
    return handle;
}

int32_t act(const char *function, void *opaque, Moment moment, const char *text)
{
    record(function, text);
    Handle *handle = static_cast<Handle *>(opaque);
    if (moment == Moment::start) handle->fedBytes = 0;
    deliver(handle, moment);
    return resultOf(function);
}

int32_t feed(const char *function, void *opaque, const void *pcm, int32_t bytes)
{
    record(function, "", pcm, bytes);
    Handle *handle = static_cast<Handle *>(opaque);
    handle->fedBytes += bytes;
    deliver(handle, Moment::feed);
    return resultOf(function);
}

int32_t drop(const char *function, void *handle)
{
    record(function, "");
    {
        std::lock_guard locked{script().mutex};
        script().live.erase(handle);
    }
    delete static_cast<Handle *>(handle);
    return resultOf(function);
}

} // namespace

void reset()
{
    std::lock_guard locked{script().mutex};
    script().calls.clear();
    script().results.clear();
    script().queued.clear();
}

void setResult(const std::string &function, int32_t result)
{
    std::lock_guard locked{script().mutex};
    script().results[function] = result;
}

void emit(Part part, Moment moment, int32_t kind, const std::string &data, int64_t afterBytes)
{
    std::lock_guard locked{script().mutex};
    script().queued[{part, moment}].push_back({kind, data, afterBytes});
}

std::vector<Call> calls(const std::string &prefix)
{
    std::lock_guard locked{script().mutex};
    std::vector<Call> matching;
    for (const Call &call : script().calls) {
        if (call.function.starts_with(prefix)) matching.push_back(call);
    }
    return matching;
}

std::vector<std::string> callNames(const std::string &prefix)
{
    std::vector<std::string> names;
    for (const Call &call : calls(prefix))
        names.push_back(call.function);
    return names;
}

int32_t liveHandles()
{
    std::lock_guard locked{script().mutex};
    return static_cast<int32_t>(script().live.size());
}

} // namespace scripted

using namespace scripted;

extern "C" {

SCRIPTED_API int32_t ostrel_library_load(const char *configuration)
{
    record("ostrel_library_load", configuration);
    return resultOf("ostrel_library_load");
}

SCRIPTED_API int32_t ostrel_library_opt(int32_t option, int32_t first, int32_t second)
{
    std::string text =
        std::to_string(option) + "," + std::to_string(first) + "," + std::to_string(second);
    record("ostrel_library_opt", text.c_str());
    return resultOf("ostrel_library_opt");
}

SCRIPTED_API void ostrel_library_release(void)
{
    record("ostrel_library_release", "");
}

SCRIPTED_API void *ostrel_vad_new(const char *configuration, ostrel_callback callback, void *user)
{
    return make("ostrel_vad_new", Part::vad, configuration, callback, user);
}

SCRIPTED_API int32_t ostrel_vad_start(void *handle, const char *startText)
{
    return act("ostrel_vad_start", handle, Moment::start, startText);
}

SCRIPTED_API int32_t ostrel_vad_feed(void *handle, const void *pcm, int32_t bytes)
{
    return feed("ostrel_vad_feed", handle, pcm, bytes);
}

SCRIPTED_API int32_t ostrel_vad_stop(void *handle)
{
    return act("ostrel_vad_stop", handle, Moment::stop, "");
}

SCRIPTED_API int32_t ostrel_vad_delete(void *handle)
{
    return drop("ostrel_vad_delete", handle);
}

SCRIPTED_API void *ostrel_gram_new(const char *configuration)
{
    return make("ostrel_gram_new", Part::asr, configuration, nullptr, nullptr);
}

SCRIPTED_API int32_t ostrel_gram_start(void *, const char *configuration)
{
    record("ostrel_gram_start", configuration);
    return resultOf("ostrel_gram_start");
}

SCRIPTED_API int32_t ostrel_gram_delete(void *handle)
{
    return drop("ostrel_gram_delete", handle);
}

SCRIPTED_API void *ostrel_asr_new(const char *configuration, ostrel_callback callback, void *user)
{
    return make("ostrel_asr_new", Part::asr, configuration, callback, user);
}

SCRIPTED_API int32_t ostrel_asr_start(void *handle, const char *startText)
{
    return act("ostrel_asr_start", handle, Moment::start, startText);
}

SCRIPTED_API int32_t ostrel_asr_feed(void *handle, const void *pcm, int32_t bytes)
{
    return feed("ostrel_asr_feed", handle, pcm, bytes);
}

SCRIPTED_API int32_t ostrel_asr_stop(void *handle)
{
    return act("ostrel_asr_stop", handle, Moment::stop, "");
}

SCRIPTED_API int32_t ostrel_asr_cancel(void *)
{
    record("ostrel_asr_cancel", "");
    return resultOf("ostrel_asr_cancel");
}

SCRIPTED_API int32_t ostrel_asr_delete(void *handle)
{
    return drop("ostrel_asr_delete", handle);
}

} // extern "C"
