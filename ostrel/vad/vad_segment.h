// Cuts a stream of frames, each with a probability of speech, into utterances.
//
// Offsets are bytes of the audio since the start. A beginning lies an onset and a margin before the
// frame that decided it, an end a lead before the one that decided that: a caller who has kept the
// audio of earlier calls, none longer than the lead, has all of it up to the offset.
#pragma once

#include <cstdint>

namespace vantel::ostrel
{

constexpr int64_t kBytesPerMs = 32;

struct SegmentSettings {
    double onThreshold;  // a frame at least this probable counts towards an onset
    double offThreshold; // a frame at least this probable carries speech on
    int onsetFrames;     // so many such frames ...
    int onsetWindow;     // ... among so many make an onset; at most 32
    int beginMarginMs;   // speech is said to begin this long before its first frame
    int maxSpeechMs;     // an utterance is cut at this length; 0: never
    int endLeadMs = 20;  // speech is said to have ended at least so long ago; not above a frame,
                         // as nobody knows where in its last frame it did
};

enum class SpeechEvent { none, begin, end };

struct Segmenter {
    SegmentSettings settings;
    int64_t frameBytes = 0;
    int64_t pauseBytes = 0; // of silence that ends speech
    int64_t position = 0;   // end of the last frame
    bool speaking = false;
    uint32_t onsets = 0;      // one bit a frame that counts towards an onset, the newest lowest
    int64_t firstSpeech = 0;  // start of the first frame of the utterance
    int64_t lastSpeech = 0;   // end of the last frame that carried speech
    int64_t lastBoundary = 0; // of the last event; no event lies before it
};

// Takes the audio's next frame. `offset` is set with begin, where speech began, and with end, where
// the pause ended that ended speech.
SpeechEvent segmenterTake(Segmenter *segmenter, double probability, int64_t *offset);

// Back to the audio's start.
void segmenterReset(Segmenter *segmenter);

} // namespace vantel::ostrel
