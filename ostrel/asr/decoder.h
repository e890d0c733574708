// One decoder of the acoustic model with the words of one grammar.
//
// A decoder costs about 5 MB; the model's files are mapped and so shared between decoders. It is
// used by one thread at a time.
#pragma once

#include "ostrel/grammar/grammar.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace vantel::ostrel
{

struct Decoder;
struct DecoderDelete {
    void operator()(Decoder *decoder) const;
};
using DecoderHandle = std::unique_ptr<Decoder, DecoderDelete>;

// Null, with the reason in the engine's log, when the model cannot be used or does not know a phone
// of the grammar's words. A model is borrowed that was trained for another language than the
// words'.
DecoderHandle decoderOpen(const std::string &acousticModel, const Grammar &grammar, bool borrowed);

// The search while speech comes in, which only tells how the grammar may go on: it cannot know the
// whole utterance's level. Each call is false when the decoder failed; it then stays failed.
bool decoderStreamStart(Decoder *decoder);
bool decoderStreamFeed(Decoder *decoder, std::span<const int16_t> samples);
// The words so far, as indices into the grammar's words; empty when there are none.
std::vector<int32_t> decoderStreamWords(Decoder *decoder);
// Also when no stream was started.
void decoderStreamEnd(Decoder *decoder);

// A stretch of an utterance, in frames of 10 ms, and how well it fits (a logarithm, the greater the
// better, in the decoder's unit).
struct Segment {
    int32_t word;          // index into the grammar's words; -1 for silence, noise or a phone
    int32_t pronunciation; // index into those of the word
    int32_t firstFrame;
    int32_t lastFrame;
    double score;
};

enum class Search { grammar, phones };

// The utterance for the passes that follow. Each call is false when the decoder failed.
bool decoderTake(Decoder *decoder, std::span<const int16_t> samples);
// One search over the utterance, outside of a stream. No segments: nothing of the grammar was
// found.
bool decoderPass(Decoder *decoder, Search search, std::vector<Segment> *segments);

} // namespace vantel::ostrel
