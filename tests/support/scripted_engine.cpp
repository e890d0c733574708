#include "tests/support/scripted_engine.h"

#include "contracts/ostrel.h"

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <new>

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
    ostrel_callback callback;
    void *user;
    int64_t fedBytes = 0; // since the last start
};

struct Script {
    std::mutex mutex;
    std::vector<Call> calls;
    std::map<std::string, int32_t> results;
    std::map<std::string, std::vector<Emission>> queued;
    int32_t liveHandles = 0;
    std::atomic<bool> isPlaying{false};
    std::atomic<int64_t> counted{0};
    std::atomic<int64_t> failsAt{0};
};

Script &script()
{
    static Script *theScript = new Script; // outlives every thread
    return *theScript;
}

// Records the call and gives its result.
int32_t record(const std::string &function, const char *text, const std::string &pcm = "")
{
    if (++script().counted == script().failsAt) return -1;
    if (script().isPlaying) return function == "ostrel_library_opt" ? -42 : 0;
    std::lock_guard locked{script().mutex};
    script().calls.push_back({function, text ? text : "(null)", pcm});
    const auto found = script().results.find(function);
    if (found != script().results.end()) return found->second;
    return function == "ostrel_library_opt" ? -42 : 0;
}

// What is due now is taken out first: a callback may come back into this library.
std::vector<Emission> takeDue(const Handle *handle, const std::string &function)
{
    std::lock_guard locked{script().mutex};
    std::vector<Emission> &queue = script().queued[function];
    const auto isLater = [handle](const Emission &emission) {
        return emission.afterBytes > handle->fedBytes;
    };
    const auto firstDue = std::stable_partition(queue.begin(), queue.end(), isLater);
    std::vector<Emission> due(firstDue, queue.end());
    queue.erase(firstDue, queue.end());
    return due;
}

// What a turn that goes well brings in this call, after which `handle` has been fed so much.
std::vector<Emission> takePlayed(const Handle *handle, const std::string &function, size_t bytes)
{
    constexpr int64_t kBegin = 3200;
    constexpr int64_t kEnd = 16000;
    const int64_t before = handle->fedBytes - static_cast<int64_t>(bytes);
    std::vector<Emission> played;
    if (function == "ostrel_asr_stop" && handle->fedBytes > 0)
        played.push_back({0, R"({"rec":"open","eof":1,"conf":0.9})", 0});
    if (function != "ostrel_vad_feed") return played;
    // A status comes when all audio before its offset has been heard of.
    const int64_t earlier = before - static_cast<int64_t>(bytes);
    const auto isPassed = [&](int64_t offset) { return earlier < offset && before >= offset; };
    if (isPassed(kBegin)) played.push_back({0, R"({"status":1,"offset":3200})", 0});
    if (before >= kBegin && earlier < kEnd) played.push_back({1, std::string(bytes, 'p'), 0});
    if (isPassed(kEnd)) played.push_back({0, R"({"status":2,"offset":16000})", 0});
    return played;
}

void *make(const char *function, const char *text, ostrel_callback callback, void *user)
{
    if (record(function, text) != 0) return nullptr;
    std::lock_guard locked{script().mutex};
    ++script().liveHandles;
    return new Handle{callback, user};
}

int32_t act(const char *function, void *opaque, const char *text, const std::string &pcm = "")
{
    const int32_t result = record(function, text, pcm);
    Handle *handle = static_cast<Handle *>(opaque);
    const bool isFeed = std::string(function).ends_with("_feed");
    if (std::string(function).ends_with("_start")) handle->fedBytes = 0;
    if (isFeed) handle->fedBytes += static_cast<int64_t>(pcm.size());
    for (const Emission &emission : script().isPlaying ? takePlayed(handle, function, pcm.size())
                                                       : takeDue(handle, function)) {
        // Copied to a block of exactly its size, so that a read beyond the length is seen.
        const std::vector<char> exact(emission.data.begin(), emission.data.end());
        handle->callback(handle->user, emission.kind, exact.empty() ? nullptr : exact.data(),
                         static_cast<int32_t>(exact.size()));
    }
    return result;
}

int32_t feed(const char *function, void *handle, const void *pcm, int32_t bytes)
{
    const char *begin = static_cast<const char *>(pcm);
    return act(function, handle, "", begin ? std::string(begin, static_cast<size_t>(bytes)) : "");
}

int32_t drop(const char *function, void *handle)
{
    const int32_t result = record(function, "");
    std::lock_guard locked{script().mutex};
    --script().liveHandles;
    delete static_cast<Handle *>(handle);
    return result;
}

// Without memory a function fails as any other would.
template <typename Result, typename Action> Result tried(Result failed, Action &&action)
{
    try {
        return action();
    } catch (const std::bad_alloc &) {
        return failed;
    }
}

} // namespace

void reset()
{
    std::lock_guard locked{script().mutex};
    script().calls.clear();
    script().results.clear();
    script().queued.clear();
    script().isPlaying = false;
}

void playTurns()
{
    script().isPlaying = true;
}

void setResult(const std::string &function, int32_t result)
{
    std::lock_guard locked{script().mutex};
    script().results[function] = result;
}

void emit(const std::string &function, int32_t kind, const std::string &data, int64_t afterBytes)
{
    std::lock_guard locked{script().mutex};
    script().queued[function].push_back({kind, data, afterBytes});
}

void failCall(int64_t number)
{
    script().counted = 0;
    script().failsAt = number;
}

int64_t countedCalls()
{
    return script().counted;
}

std::vector<Call> calls(const std::string &prefix)
{
    std::lock_guard locked{script().mutex};
    std::vector<Call> matching = script().calls;
    std::erase_if(matching, [&](const Call &call) { return !call.function.starts_with(prefix); });
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
    return script().liveHandles;
}

} // namespace scripted

using namespace scripted;

extern "C" {

SCRIPTED_API int32_t ostrel_library_load(const char *configuration)
{
    return tried(-1, [&] { return record("ostrel_library_load", configuration); });
}

SCRIPTED_API int32_t ostrel_library_opt(int32_t, int32_t, int32_t)
{
    return tried(-1, [&] { return record("ostrel_library_opt", ""); });
}

SCRIPTED_API void ostrel_library_release(void)
{
    tried(-1, [] { return record("ostrel_library_release", ""); });
}

SCRIPTED_API void *ostrel_vad_new(const char *configuration, ostrel_callback callback, void *user)
{
    return tried<void *>(nullptr,
                         [&] { return make("ostrel_vad_new", configuration, callback, user); });
}

SCRIPTED_API int32_t ostrel_vad_start(void *handle, const char *startText)
{
    return tried(-1, [&] { return act("ostrel_vad_start", handle, startText); });
}

SCRIPTED_API int32_t ostrel_vad_feed(void *handle, const void *pcm, int32_t bytes)
{
    return tried(-1, [&] { return feed("ostrel_vad_feed", handle, pcm, bytes); });
}

SCRIPTED_API int32_t ostrel_vad_stop(void *handle)
{
    return tried(-1, [&] { return act("ostrel_vad_stop", handle, ""); });
}

SCRIPTED_API int32_t ostrel_vad_delete(void *handle)
{
    return tried(-1, [&] { return drop("ostrel_vad_delete", handle); });
}

SCRIPTED_API void *ostrel_gram_new(const char *configuration)
{
    return tried<void *>(nullptr,
                         [&] { return make("ostrel_gram_new", configuration, nullptr, nullptr); });
}

SCRIPTED_API int32_t ostrel_gram_start(void *, const char *configuration)
{
    return tried(-1, [&] { return record("ostrel_gram_start", configuration); });
}

SCRIPTED_API int32_t ostrel_gram_delete(void *handle)
{
    return tried(-1, [&] { return drop("ostrel_gram_delete", handle); });
}

SCRIPTED_API void *ostrel_asr_new(const char *configuration, ostrel_callback callback, void *user)
{
    return tried<void *>(nullptr,
                         [&] { return make("ostrel_asr_new", configuration, callback, user); });
}

SCRIPTED_API int32_t ostrel_asr_start(void *handle, const char *startText)
{
    return tried(-1, [&] { return act("ostrel_asr_start", handle, startText); });
}

SCRIPTED_API int32_t ostrel_asr_feed(void *handle, const void *pcm, int32_t bytes)
{
    return tried(-1, [&] { return feed("ostrel_asr_feed", handle, pcm, bytes); });
}

SCRIPTED_API int32_t ostrel_asr_stop(void *handle)
{
    return tried(-1, [&] { return act("ostrel_asr_stop", handle, ""); });
}

SCRIPTED_API int32_t ostrel_asr_cancel(void *)
{
    return tried(-1, [&] { return record("ostrel_asr_cancel", ""); });
}

SCRIPTED_API int32_t ostrel_asr_delete(void *handle)
{
    return tried(-1, [&] { return drop("ostrel_asr_delete", handle); });
}

} // extern "C"
