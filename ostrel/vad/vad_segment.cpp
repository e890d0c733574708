#include "ostrel/vad/vad_segment.h"

#include <algorithm>
#include <bit>

namespace vantel::ostrel
{
namespace
{

SpeechEvent takeInSilence(Segmenter *segmenter, double probability, int64_t *offset)
{
    const SegmentSettings &settings = segmenter->settings;
    uint32_t window = settings.onsetWindow >= 32 ? ~0U : (1U << settings.onsetWindow) - 1;
    bool counts = probability >= settings.onThreshold;
    segmenter->onsets = ((segmenter->onsets << 1) | (counts ? 1U : 0U)) & window;
    if (std::popcount(segmenter->onsets) < settings.onsetFrames) return SpeechEvent::none;

    int64_t framesSinceFirst = std::bit_width(segmenter->onsets);
    segmenter->speaking = true;
    segmenter->firstSpeech = segmenter->position - framesSinceFirst * segmenter->frameBytes;
    segmenter->lastSpeech = segmenter->position;
    segmenter->lastBoundary = std::max(
        segmenter->lastBoundary, segmenter->firstSpeech - settings.beginMarginMs * kBytesPerMs);
    *offset = segmenter->lastBoundary;
    return SpeechEvent::begin;
}

SpeechEvent takeInSpeech(Segmenter *segmenter, double probability, int64_t *offset)
{
    const SegmentSettings &settings = segmenter->settings;
    if (probability >= settings.offThreshold) segmenter->lastSpeech = segmenter->position;
    bool paused = segmenter->position - segmenter->lastSpeech >= segmenter->pauseBytes &&
                  segmenter->position > segmenter->lastSpeech;
    bool tooLong = settings.maxSpeechMs > 0 && segmenter->position - segmenter->firstSpeech >=
                                                   settings.maxSpeechMs * kBytesPerMs;
    if (!paused && !tooLong) return SpeechEvent::none;

    int64_t latest = segmenter->position - settings.endLeadMs * kBytesPerMs;
    *offset = paused ? std::min(segmenter->lastSpeech + segmenter->pauseBytes, latest) : latest;
    segmenter->speaking = false;
    segmenter->onsets = 0;
    segmenter->lastBoundary = *offset;
    return SpeechEvent::end;
}

} // namespace

SpeechEvent segmenterTake(Segmenter *segmenter, double probability, int64_t *offset)
{
    segmenter->position += segmenter->frameBytes;
    return segmenter->speaking ? takeInSpeech(segmenter, probability, offset)
                               : takeInSilence(segmenter, probability, offset);
}

void segmenterReset(Segmenter *segmenter)
{
    segmenter->position = 0;
    segmenter->speaking = false;
    segmenter->onsets = 0;
    segmenter->firstSpeech = 0;
    segmenter->lastSpeech = 0;
    segmenter->lastBoundary = 0;
}

} // namespace vantel::ostrel
