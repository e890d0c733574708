// One recogniser: the utterance that is coming in, and its results.
#pragma once

#include "contracts/ostrel.h"
#include "ostrel/asr/grammar_search.h"
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
    std::shared_ptr<const Grammar> grammar; // null: none, and no search either
    std::unique_ptr<GrammarSearch> search;
    bool mayTranscribe = false; // free speech is wanted, unless it turns out that there is none
    std::shared_ptr<const Transcriber> transcriber; // null: none, or not needed yet
    // The utterance.
    bool started = false;
    bool endedItself = false; // its result was delivered, and no more of it is wanted
    StartOptions start;
    std::vector<int16_t> audio;
    std::optional<uint8_t> oddByte; // the first half of a sample
    size_t searched = 0;            // samples that the search has taken
    std::string lastPartial;
};

// The result texts that go to the callback; empty when there is no memory (result_json.cpp).
HeapText partialResult(const std::string &text);
HeapText finalResult(const Recogniser &recogniser, const GrammarResult &grammar,
                     const NgramResult &ngram);

} // namespace vantel::ostrel
