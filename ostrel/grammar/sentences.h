// The sentences of a grammar as an automaton of words, without empty arcs.
#pragma once

#include "ostrel/grammar/grammar_network.h"

namespace vantel::ostrel
{

struct SentenceStep {
    int32_t word; // index into the tree's words
    int32_t to;
};

struct SentenceState {
    std::vector<SentenceStep> steps;
    bool isEnd = false; // a sentence may end here
};

struct Sentences {
    std::vector<SentenceState> states; // the first is the start
};

// False when the automaton would have more than a million steps.
bool buildSentences(const Network &network, Sentences *sentences);

using Sentence = std::vector<int32_t>; // indices of words

// All sentences when these are at most 500; else sentences that together hold every pair of words
// that follow each other in some sentence, its beginning and end included. False when there are
// more than a million pairs.
bool coveringSentences(const Sentences &all, std::vector<Sentence> *covering);

} // namespace vantel::ostrel
