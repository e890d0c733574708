// The streaming recogniser's library and its model of English.
//
// The library is loaded at the first use and stays for the life of the process; it and the model
// may be missing. The model is loaded once and shared by all decoders; it stays until
// voskRelease and nobody holds it any more. A decoder is used by one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vantel::ostrel
{

struct VoskModel;
struct VoskDecoder;
struct VoskDecoderDelete {
    void operator()(VoskDecoder *decoder) const;
};
using VoskDecoderHandle = std::unique_ptr<VoskDecoder, VoskDecoderDelete>;

// What the model calls speech that is none of its words.
constexpr const char *kUnknownWord = "[unk]";

// The model in `folder`; an empty name is the model that comes along. Null, with the reason in
// words, when the library or the model is missing or cannot be used; then the log has it too.
// Takes about 0.4 s and 120 MB the first time.
std::shared_ptr<const VoskModel> voskModelOpen(const std::string &folder, std::string *reason);

// Whether the model can hear the word, which is in lower case.
bool voskModelKnows(const VoskModel &model, const std::string &word);

// Lets the shared model go; who holds it keeps it.
void voskRelease();

// A decoder for those phrases of words that the model knows; for free speech when there are none.
// Null with a line in the log.
VoskDecoderHandle voskDecoderOpen(std::shared_ptr<const VoskModel> model,
                                  std::span<const std::string> phrases);

// How much audio a decoder takes at once: its confidences depend on how the audio was cut, so that
// all but the last piece of an utterance have this length.
constexpr size_t kVoskBlock = 1600;

// Takes the next samples. True when the decoder itself hears that a sentence has ended.
bool voskDecoderFeed(VoskDecoder *decoder, std::span<const int16_t> samples);

// The words so far, separated by blanks.
std::string voskDecoderPartial(VoskDecoder *decoder);

struct HeardWord {
    std::string text;
    int64_t beginMs; // from the beginning of the utterance
    int64_t endMs;
    double confidence; // 0 to 1
};

// The words of the utterance, which ends with this.
std::vector<HeardWord> voskDecoderFinish(VoskDecoder *decoder);

// Forgets the utterance.
void voskDecoderReset(VoskDecoder *decoder);

} // namespace vantel::ostrel
