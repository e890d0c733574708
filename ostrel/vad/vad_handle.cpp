// The voice activity detector's C interface: fed audio becomes frames, frames become statuses and
// the speech that is passed on.
//
// The order of callbacks is: status 1, the speech with what was heard shortly before it, status 2
// when it has ended. Where they fall in the audio does not depend on how the audio was cut into
// calls, as only whole frames are looked at and passed on.
//
// A caller keeps the audio of a call once that call has returned. A status therefore waits, and all
// that follows it, until its offset lies within the audio of earlier calls: with calls of up to
// 20 ms it never has to, with longer ones it comes one call later at most, or when the turn stops.
#include "contracts/ostrel.h"
#include "ostrel/no_throw.h"
#include "ostrel/vad/vad_detectors.h"

#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <deque>
#include <string>

#define VAD_LOG(level, ...) ENGINE_LOG("ostrel/vad", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr int kDefaultPauseMs = 300;
constexpr int kDefaultPreRollMs = 200;
constexpr int kStatusBegin = 1;
constexpr int kStatusEnd = 2;
constexpr int32_t kKindText = 0;
constexpr int32_t kKindSpeech = 1;

// A boundary of speech that was found and is still to be told.
struct Boundary {
    int status;
    int64_t offset;
    int64_t foundAt; // end of the frame that decided it
};

struct VadRecord {
    ostrel_callback callback = nullptr;
    void *user = nullptr;
    std::unique_ptr<VadDetector> detector;
    int pauseMs = kDefaultPauseMs; // when the start text has none
    int64_t preRollBytes = 0;
    bool started = false;
    uint32_t turn = 0; // of start or stop; tells whether a callback has called either
    Segmenter segmenter;
    std::string heard;   // audio that may still be passed on, then the frame that is not whole yet
    int64_t heardAt = 0; // where `heard` begins
    int64_t passedUpTo = 0; // where the audio that was passed on ends
    int64_t fed = 0;        // since the start
    int64_t fedBefore = 0;  // by earlier calls
    std::deque<Boundary> untold;
    int lastTold = 0; // status; 0: none in this turn
    bool isTelling = false;
};

size_t frameBytes(const VadRecord *record)
{
    return static_cast<size_t>(record->segmenter.frameBytes);
}

void tellStatus(VadRecord *record, const Boundary &boundary)
{
    char text[96];
    int length = std::snprintf(text, sizeof text,
                               "{\"status\":%d,\"offset\":%" PRId64 ",\"fed\":%" PRId64 "}",
                               boundary.status, boundary.offset, record->fedBefore);
    VAD_LOG(kInfo, "  %s\n", text);
    record->lastTold = boundary.status;
    if (boundary.status == kStatusBegin)
        record->passedUpTo = std::max(record->passedUpTo, boundary.offset - record->preRollBytes);
    record->callback(record->user, kKindText, text, length);
}

// Passes on what lies before `upTo` and was not passed on yet.
void passSpeech(VadRecord *record, int64_t upTo)
{
    int64_t from = std::max(record->passedUpTo, record->heardAt);
    if (upTo <= from) return;
    record->passedUpTo = upTo;
    record->callback(record->user, kKindSpeech, record->heard.data() + (from - record->heardAt),
                     static_cast<int32_t>(upTo - from));
}

// Tells in order what may be told by now. False when a callback has stopped or started the turn.
bool tell(VadRecord *record)
{
    const uint32_t turn = record->turn;
    record->isTelling = true;
    while (record->turn == turn) {
        const bool hasNext = !record->untold.empty();
        if (record->lastTold == kStatusBegin)
            passSpeech(record,
                       hasNext ? record->untold.front().foundAt : record->segmenter.position);
        if (record->turn != turn || !hasNext) break;
        const Boundary next = record->untold.front();
        if (next.offset > record->fedBefore) break;
        record->untold.pop_front();
        tellStatus(record, next);
    }
    record->isTelling = false;
    return record->turn == turn;
}

// Drops what can no longer be passed on: while there is no speech, an onset may still reach back
// over its window, its margin and the pre-roll.
void forget(VadRecord *record)
{
    const Segmenter &segmenter = record->segmenter;
    int64_t reach = segmenter.settings.onsetWindow * segmenter.frameBytes +
                    segmenter.settings.beginMarginMs * kBytesPerMs + record->preRollBytes;
    int64_t keepFrom = segmenter.speaking ? segmenter.position : segmenter.position - reach;
    if (record->lastTold == kStatusBegin) keepFrom = std::min(keepFrom, record->passedUpTo);
    for (const Boundary &boundary : record->untold) {
        if (boundary.status == kStatusBegin)
            keepFrom = std::min(keepFrom, boundary.offset - record->preRollBytes);
    }
    int64_t surplus = keepFrom - record->heardAt;
    if (surplus <= 0) return;
    record->heard.erase(0, static_cast<size_t>(surplus));
    record->heardAt += surplus;
}

bool hasFrame(const VadRecord *record)
{
    int64_t end = record->heardAt + static_cast<int64_t>(record->heard.size());
    return record->segmenter.position + record->segmenter.frameBytes <= end;
}

bool takeFrame(VadRecord *record)
{
    int16_t samples[1024];
    size_t at = static_cast<size_t>(record->segmenter.position - record->heardAt);
    std::memcpy(samples, record->heard.data() + at, frameBytes(record));
    double probability = 0;
    if (!record->detector->take(samples, &probability)) return false;

    int64_t offset = 0;
    switch (segmenterTake(&record->segmenter, probability, &offset)) {
    case SpeechEvent::none:
        break;
    case SpeechEvent::begin:
        record->untold.push_back({kStatusBegin, offset, record->segmenter.position});
        break;
    case SpeechEvent::end:
        record->untold.push_back({kStatusEnd, offset, record->segmenter.position});
        break;
    }
    return true;
}

int32_t feed(VadRecord *record, const void *pcm, int32_t bytes)
{
    if (!record->started || record->isTelling || bytes < 0 || (bytes > 0 && !pcm)) return -1;
    record->fedBefore = record->fed;
    record->fed += bytes;
    if (!tell(record)) return 0;
    const char *next = static_cast<const char *>(pcm);
    size_t left = static_cast<size_t>(bytes);
    // A long call is taken in pieces: only what still waits to be told is kept of it.
    while (left > 0) {
        size_t piece = std::min<size_t>(left, 16 * frameBytes(record));
        record->heard.append(next, piece);
        next += piece;
        left -= piece;
        while (hasFrame(record)) {
            if (!takeFrame(record)) return -1;
        }
        if (!tell(record)) return 0;
        forget(record);
    }
    return 0;
}

int32_t start(VadRecord *record, const char *startText)
{
    constexpr int kLongestPauseMs = 60000;
    Json text = jsonParse(startText);
    int pauseMs = std::clamp(jsonInt(text.get(), "pauseTime", record->pauseMs), 0, kLongestPauseMs);
    ++record->turn;
    segmenterReset(&record->segmenter);
    record->segmenter.pauseBytes = pauseMs * kBytesPerMs;
    record->detector->reset();
    record->heard.clear();
    record->heardAt = 0;
    record->passedUpTo = 0;
    record->fed = 0;
    record->fedBefore = 0;
    record->untold.clear();
    record->lastTold = 0;
    record->started = true;
    VAD_LOG(kInfo, "  start, pause %d ms\n", pauseMs);
    return 0;
}

// What waited for the next call is told now, as all audio is that of earlier calls. Only a caller
// who stops because speech has ended is not told that more of it has just begun.
void stop(VadRecord *record)
{
    if (!record->started) return;
    record->started = false;
    if (!record->isTelling) {
        record->fedBefore = record->fed;
        const bool isCut = !record->untold.empty() && record->untold.back().status == kStatusBegin;
        if (isCut && record->lastTold == kStatusEnd) record->untold.pop_back();
        tell(record);
    }
    ++record->turn;
    if (!record->started) record->untold.clear();
}

// A number of the configuration within its limits; the default, with a line in the log, when it
// lies outside them.
template <typename Number>
void readNumber(const cJSON *configuration, const char *key, double least, double most,
                Number *value)
{
    const cJSON *member = jsonMember(configuration, key);
    if (!member) return;
    if (cJSON_IsNumber(member) && member->valuedouble >= least && member->valuedouble <= most)
        *value = static_cast<Number>(member->valuedouble);
    else
        VAD_LOG(kWarning, "  vad: %s is no number from %g to %g\n", key, least, most);
}

void readSettings(const cJSON *configuration, VadRecord *record)
{
    constexpr double kMinuteMs = 60000;
    SegmentSettings settings = record->detector->defaults;
    int preRollMs = kDefaultPreRollMs;
    readNumber(configuration, "pauseTime", 0, kMinuteMs, &record->pauseMs);
    readNumber(configuration, "preRoll", 0, kMinuteMs, &preRollMs);
    readNumber(configuration, "onThreshold", 0, 1, &settings.onThreshold);
    readNumber(configuration, "offThreshold", 0, 1, &settings.offThreshold);
    readNumber(configuration, "onsetWindow", 1, 32, &settings.onsetWindow);
    settings.onsetFrames = std::min(settings.onsetFrames, settings.onsetWindow);
    readNumber(configuration, "onsetFrames", 1, settings.onsetWindow, &settings.onsetFrames);
    readNumber(configuration, "beginMargin", 0, kMinuteMs, &settings.beginMarginMs);
    readNumber(configuration, "maxSpeech", 0, 60 * kMinuteMs, &settings.maxSpeechMs);
    record->preRollBytes = preRollMs * kBytesPerMs;
    record->segmenter.settings = settings;
    record->segmenter.frameBytes = record->detector->frameSamples * 2;
}

// The detector that the configuration names, else the best there is; null when there is none.
std::unique_ptr<VadDetector> makeDetector(const cJSON *configuration)
{
    const char *engine = jsonString(configuration, "engine");
    DetectorOptions options;
    readNumber(configuration, "webrtcMode", 0, 3, &options.webrtcMode);
    for (const DetectorKind &kind : kDetectors) {
        if (engine && std::strcmp(engine, kind.name) != 0) continue;
        if (auto detector = kind.make(options)) return detector;
    }
    VAD_LOG(kError, "  no such voice activity detector: %s\n", engine ? engine : "any");
    return nullptr;
}

std::unique_ptr<VadRecord> make(const char *text, ostrel_callback callback, void *user)
{
    Json configuration = jsonParse(text);
    if (!library() || !callback || !cJSON_IsObject(configuration.get())) return nullptr;
    auto record = std::make_unique<VadRecord>();
    record->callback = callback;
    record->user = user;
    record->detector = makeDetector(configuration.get());
    if (!record->detector) return nullptr;
    readSettings(configuration.get(), record.get());
    return record;
}

VadRecord *recordOf(void *handle)
{
    return static_cast<VadRecord *>(handle);
}

} // namespace
} // namespace vantel::ostrel

using namespace vantel::ostrel;

void *ostrel_vad_new(const char *configuration, ostrel_callback callback, void *user)
{
    return withoutThrowing<void *>(nullptr,
                                   [&] { return make(configuration, callback, user).release(); });
}

int32_t ostrel_vad_start(void *handle, const char *startText)
{
    if (!handle) return -1;
    return withoutThrowing(-1, [&] { return start(recordOf(handle), startText); });
}

int32_t ostrel_vad_feed(void *handle, const void *pcm, int32_t bytes)
{
    if (!handle) return -1;
    return withoutThrowing(-1, [&] { return feed(recordOf(handle), pcm, bytes); });
}

int32_t ostrel_vad_stop(void *handle)
{
    if (!handle) return -1;
    return withoutThrowing(-1, [&] {
        stop(recordOf(handle));
        return 0;
    });
}

int32_t ostrel_vad_delete(void *handle)
{
    delete recordOf(handle);
    return handle ? 0 : -1;
}
