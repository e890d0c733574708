// One recogniser: the utterance that is coming in, and its results.
#pragma once

#include "contracts/ostrel.h"
#include "ostrel/asr/asr_options.h"
#include "ostrel/asr/decoder.h"
#include "ostrel/runtime/transcriber.h"

#include <optional>

namespace vantel::ostrel
{

// Results of the recogniser's functions, beside OSTREL_LIMIT_EXCEEDED.
enum AsrError : int32_t {
    kAsrNotStarted = -9201,
    kAsrArgument = -9202, // no handle, no data, a negative count
    kAsrFailed = -9203,   // the decoder gave up; the log has why
};

struct Recogniser {
    AsrOptions options;
    ostrel_callback callback = nullptr;
    void *user = nullptr;
    std::shared_ptr<const Grammar> grammar; // null: none, and no decoder either
    bool borrowsModel = false; // Chinese words over the English model, which need care of their own
    DecoderHandle decoder;
    std::shared_ptr<const Transcriber> transcriber; // null: none
    // The utterance.
    bool started = false;
    StartOptions start;
    std::vector<int16_t> audio;
    std::optional<uint8_t> oddByte; // the first half of a sample
    size_t streamed = 0;            // samples that the partial search has seen
    std::string lastPartial;
};

// When a word was spoken, in milliseconds from the beginning of the utterance.
struct WordTime {
    int32_t beginMs;
    int32_t endMs;
};

// What a whole utterance came to.
struct GrammarResult {
    std::vector<std::string> words;
    std::vector<WordTime> times; // of the words
    std::string reading;         // of the words as they were spoken; empty when nothing tells
    int64_t phones = 0;          // of the words, and the frames that these take
    int64_t wordFrames = 0;
    double fitAll = 0; // A and W of the confidence scale
    double fitWords = 0;
    double confidence = 0;
};

struct NgramResult {
    bool isThere = false; // the transcriber was asked and answered, if with an empty text
    std::string text;
    double confidence = 0;
};

// The searches over the whole utterance (searches.cpp). An empty result when nothing was found.
// False when the decoder failed.
bool recogniseGrammar(Recogniser *recogniser, GrammarResult *result);
void recogniseNgram(const Recogniser &recogniser, NgramResult *result);

// How much better the grammar's words fit than phones in any order (confidence.cpp).
void measureFit(const std::vector<Segment> &words, const std::vector<Segment> &phones,
                GrammarResult *result);
// Sets the grammar result's confidence, once both results are there.
void rateGrammar(const Recogniser &recogniser, const NgramResult &ngram, GrammarResult *result);

// The result texts that go to the callback; empty when there is no memory (result_json.cpp).
HeapText partialResult(const std::string &text);
HeapText finalResult(const Recogniser &recogniser, const GrammarResult &grammar,
                     const NgramResult &ngram);
// The words with a blank between each two.
std::string joined(const std::vector<std::string> &words);

} // namespace vantel::ostrel
