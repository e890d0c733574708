// Finds what was said of a grammar in utterances. There are several recognisers that can; a table
// in grammar_search.cpp lists them, the preferred first.
#pragma once

#include "ostrel/asr/asr_options.h"
#include "ostrel/grammar/grammar.h"

#include <span>

namespace vantel::ostrel
{

// A word and where in the utterance it was spoken.
struct SpokenWord {
    std::string text; // of the grammar
    int64_t beginMs = 0;
    int64_t endMs = 0;
};

// What a whole utterance came to.
struct GrammarResult {
    std::vector<SpokenWord> words;
    std::string reading; // of the words as they were spoken; empty when nothing tells
    double confidence = 0;
    double fitAll = 0; // A and W of the confidence scale, where the search has one
    double fitWords = 0;
    std::optional<double> verified; // score of the verifier, where it was asked
};

// What free speech made of the same utterance, when it was asked.
struct NgramResult {
    bool isThere = false; // the transcriber was asked and answered, if with an empty text
    std::string text;
    double confidence = 0;
};

struct GrammarSearch {
    virtual ~GrammarSearch() = default;
    // Begins an utterance, and drops one that was not finished.
    virtual bool start() = 0;
    // Takes what was heard since. Each false is a failure; the log has why.
    virtual bool feed(std::span<const int16_t> samples) = 0;
    // Whether by what was heard the utterance is over, and may be finished. In audio without end:
    // whether there may be a result, or there is too much of what is none.
    virtual bool isOver() { return false; }
    // The words so far, for people; they may still change.
    virtual std::string partial() = 0;
    // Ends the utterance, and begins the next. `audio` is all of it; empty in audio without end.
    virtual bool finish(std::span<const int16_t> audio, GrammarResult *result) = 0;
    // Sets the result's confidence, once free speech is there for a search that takes it into
    // account.
    virtual void rate(const NgramResult &ngram, GrammarResult *result) = 0;
    // Drops the utterance.
    virtual void cancel() = 0;

    // How much `feed` takes at once; only the last piece of an utterance may be shorter.
    size_t blockSamples = 1600;
    // What free speech has heard makes this search surer; without that, it is only asked when the
    // grammar was not understood.
    bool usesNgram = false;
};

// The search that "engine" of the options names, or the first that suits the grammar; which it is
// and why goes to the log. Null, with a line in the log, when there is none.
std::unique_ptr<GrammarSearch> grammarSearchOpen(const AsrOptions &options,
                                                 const std::shared_ptr<const Grammar> &grammar);

// The recognisers, by their names in "engine". Null with the reason when one does not suit.
std::unique_ptr<GrammarSearch> streamSearchOpen(const AsrOptions &options,
                                                std::shared_ptr<const Grammar> grammar,
                                                std::string *reason);
std::unique_ptr<GrammarSearch> fsgSearchOpen(const AsrOptions &options,
                                             std::shared_ptr<const Grammar> grammar,
                                             std::string *reason);

} // namespace vantel::ostrel
