// The measurement buffers: speech as it comes, silence and voice cut from it.
#include "src/vad/vad_record.h"

#include <algorithm>

namespace vantel::vad
{
namespace
{

constexpr char kSpeech[] = "speech";
constexpr char kSilence[] = "silence";
constexpr char kVoice[] = "voice";

void add(PcmBuffer *buffer, const char *name, const char *nameOnOverflow, const void *pcm,
         int32_t bytes)
{
    switch (pcmBufferAdd(buffer, pcm, bytes)) {
    case Growth::none:
        return;
    case Growth::grown:
        VAD_LOG(kWarning, "  %s snr %s buffer size: %dK\n", kVadTag, name, buffer->capacity / 1024);
        return;
    case Growth::overflow:
        VAD_LOG(kWarning, "  %s data too big, %s buffer overflow\n", kVadTag, nameOnOverflow);
        return;
    }
}

void reset(PcmBuffer *buffer, const char *name)
{
    pcmBufferReset(buffer);
    VAD_LOG(kInfo, "  %s reset %s\n", kVadTag, name);
}

} // namespace

void addSpeech(VadRecord *record, const void *pcm, int32_t bytes)
{
    add(&record->speech, kSpeech, kSpeech, pcm, bytes);
}

void addSilence(VadRecord *record, int32_t from, int32_t to)
{
    const PcmBuffer &speech = record->speech;
    from = std::max(from, 0);
    to = std::min(to, speech.length);
    if (from >= to) return;
    add(&record->silence, kSilence, "slience", speech.bytes.get() + from, to - from);
}

void _cutSnrVoice(VadRecord *record)
{
    const PcmBuffer &speech = record->speech;
    const int32_t from = std::max(speech.begin, 0);
    const int32_t to =
        speech.begin < speech.end ? std::min(speech.end, speech.length) : speech.length;
    const int32_t length = std::max(to - from, 0);
    VAD_LOG(kInfo, "  %s speech len: %d, pos len: %d\n", kVadTag, speech.length, length);
    if (speech.length == 0) return;
    if (length > 0) add(&record->voice, kVoice, kVoice, speech.bytes.get() + from, length);
    VAD_LOG(kInfo, "  %s begin: %d, end: %d, splen: %d, vlen: %d\n", kVadTag, speech.begin,
            speech.end, length, record->voice.length);
}

void retsetSpeech(VadRecord *record)
{
    reset(&record->speech, kSpeech);
}

void retsetSlience(VadRecord *record)
{
    reset(&record->silence, kSilence);
}

void retsetVoice(VadRecord *record)
{
    reset(&record->voice, kVoice);
}

} // namespace vantel::vad
