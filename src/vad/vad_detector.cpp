// What the detector says: begin and end of speech, and the speech itself, told to the others.
#include "src/vad/vad_record.h"

#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "tools/json.h"

#include <algorithm>
#include <string>

namespace vantel::vad
{
namespace
{

constexpr int32_t kStatusKind = 0;
constexpr int32_t kSpeechBegan = 1;
constexpr int32_t kSpeechEnded = 2;

// A pauseTime out of range wraps as 32-bit arithmetic does; stretches are cut to the buffer anyway.
int32_t pauseBytes(const VadRecord *record)
{
    return static_cast<int32_t>(int64_t{record->pauseMs} * kBytesPerMs);
}

int32_t sum(int32_t left, int32_t right)
{
    return static_cast<int32_t>(int64_t{left} + right);
}

int32_t difference(int32_t left, int32_t right)
{
    return static_cast<int32_t>(int64_t{left} - right);
}

void deliverStatus(VadRecord *record, const std::string &text)
{
    if (!hasHost(record)) return;
    VAD_LOG(kInfo, "  %s vad.status vantelHandle stamp, data: %s\n", kVadTag, text.c_str());
    HeapText answer = deliver(record->instance, text.c_str(), static_cast<uint32_t>(text.size()),
                              VANTEL_TYPE_JSON, VANTEL_EVENT_VAD);
    VAD_LOG(kVerbose, "  %s vad.status vantelHandle\n", kVadTag);
}

// The wakeup word's own audio goes ahead of the speech that follows it.
void publishOneshot(VadRecord *record)
{
    if (!hasFlag(record, kOneshotEnabled) || !hasFlag(record, kOneshotPending)) return;
    const OneshotBuffer *oneshot = record->oneshot.get();
    const unsigned char *bytes = oneshot ? oneshot->bytes.get() : nullptr;
    const int32_t length = oneshot ? oneshot->length : 0;
    VAD_LOG(kInfo, "  %s publish oneshot audio len: %d, then cancel feed oneshot flag\n", kVadTag,
            length);
    quillon_publish(record->node, topics::kVadPcm, bytes, static_cast<uint32_t>(length));
    clearFlag(record, kOneshotPending);
    _writeCacheVadFileName(record, bytes, length, VadCapture::vad);
    _writeCacheVadFileName(record, bytes, length, VadCapture::onshot);
}

// Where a status lies in the speech buffer.
struct Place {
    int32_t first; // the first whole sample in the buffer that the detector was fed since its start
    int32_t position;
};

int64_t wholeNumber(const cJSON *object, const char *key)
{
    constexpr double kLargest = 1LL << 53; // of those that a JSON number holds exactly
    const cJSON *member = jsonMember(object, key);
    if (!cJSON_IsNumber(member)) return 0;
    return static_cast<int64_t>(std::clamp(member->valuedouble, -kLargest, kLargest));
}

// Offsets count from the detector's start, but the buffer may have been emptied since then, in the
// middle of a sample even, or hold older audio as well. A detector that says how much it had been
// fed before tells the difference: that byte is the buffer's end. The position of what is gone is
// that of the first sample which is not.
Place placeOf(const VadRecord *record, const cJSON *status)
{
    if (!cJSON_IsNumber(jsonMember(status, "fed")))
        return {INT32_MIN, jsonInt(status, "offset", 0)};
    const int64_t length = record->speech.length;
    const int64_t start = length - wholeNumber(status, "fed");
    const int64_t first = std::min(start >= 0 ? start : -start % kSampleBytes, length);
    const int64_t position = start + wholeNumber(status, "offset");
    return {static_cast<int32_t>(first),
            static_cast<int32_t>(std::clamp<int64_t>(position, first, INT32_MAX))};
}

bool isBuffered(VadRecord *record, int32_t position)
{
    if (record->speech.length >= position) return true;
    VAD_LOG(kWarning, "  %s offset inaccuracy, speechLen: %d, offset:%d\n", kVadTag,
            record->speech.length, position);
    return false;
}

// The silence before a speech.
void vadCutSlience(VadRecord *record, const Place &speech)
{
    int32_t from = std::max(speech.first, 0);
    if (hasFlag(record, kFullMode)) {
        const int32_t end = record->speech.end;
        VAD_LOG(kInfo, "  %s %d %d\n", kVadTag, end, difference(speech.position, end));
        // The pause after the last speech is in the silence buffer already.
        if (end != 0) from = std::max(from, sum(end, pauseBytes(record)));
    }
    addSilence(record, from, speech.position);
}

void speechBegan(VadRecord *record, const std::string &text, const Place &place)
{
    setFlag(record, kInSpeech);
    quillon_publish(record->node, topics::kVadBegin, text.c_str(),
                    static_cast<uint32_t>(text.size()));
    killVadTimer(record);
    publishOneshot(record);
    if (!isBuffered(record, place.position)) return;
    vadCutSlience(record, place);
    record->speech.begin = place.position;
}

void speechEnded(VadRecord *record, const std::string &text, const Place &place)
{
    clearFlag(record, kInSpeech);
    quillon_publish(record->node, topics::kVadEnd, text.c_str(),
                    static_cast<uint32_t>(text.size()));
    if (!isBuffered(record, place.position)) return;
    const int32_t end = difference(place.position, pauseBytes(record));
    VAD_LOG(kInfo, "  %s %d %d\n", kVadTag, end, pauseBytes(record));
    addSilence(record, std::max(end, place.first), place.position);
    record->speech.begin = std::max(record->speech.begin, place.first);
    record->speech.end = end;
    _cutSnrVoice(record);
}

void onStatus(VadRecord *record, const std::string &text)
{
    VAD_LOG(kInfo, "  %s coreVad result %s\n", kVadTag, text.c_str());
    deliverStatus(record, text);
    Json status = jsonParse(text.c_str());
    const Place place = placeOf(record, status.get());
    switch (jsonInt(status.get(), "status", 0)) {
    case kSpeechBegan:
        return speechBegan(record, text, place);
    case kSpeechEnded:
        return speechEnded(record, text, place);
    default: // also without a status at all
        VAD_LOG(kWarning, "  %s coreVad abort\n", kVadTag);
    }
}

void onPcm(VadRecord *record, const void *pcm, int32_t bytes)
{
    quillon_publish(record->node, topics::kVadPcm, pcm, static_cast<uint32_t>(bytes));
    if (hasHost(record)) {
        VAD_LOG(kVerbose, "  %s vad.pcm vantelHandle begin\n", kVadTag);
        HeapText answer = deliver(record->instance, pcm, static_cast<uint32_t>(bytes),
                                  VANTEL_TYPE_PCM, VANTEL_EVENT_VAD);
        VAD_LOG(kVerbose, "  %s vad.pcm vantelHandle end\n", kVadTag);
    }
    _writeCacheVadFileName(record, pcm, bytes, VadCapture::vad);
}

} // namespace

int32_t vadHandler(void *user, int32_t kind, const void *data, int32_t length)
{
    VadRecord *record = static_cast<VadRecord *>(user);
    const int32_t bytes = data ? std::max(length, 0) : 0;
    withoutThrowing(kVadLog, [&] {
        if (kind == kStatusKind && data) {
            // The engine's text may lack a terminator.
            onStatus(record,
                     std::string(static_cast<const char *>(data), static_cast<size_t>(bytes)));
        } else {
            onPcm(record, data, bytes);
        }
    });
    return 0;
}

} // namespace vantel::vad
