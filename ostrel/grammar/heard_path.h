// Finds the sentence of a grammar behind words that a recogniser heard.
//
// The recogniser hears tokens: words of its vocabulary. A word of the grammar is one token or,
// where the vocabulary lacks it, several. The work grows with the tokens times the automaton's
// steps and is bounded.
#pragma once

#include "ostrel/grammar/jsgf.h"
#include "ostrel/grammar/sentences.h"

#include <optional>
#include <span>
#include <string>
#include <unordered_map>

namespace vantel::ostrel
{

constexpr int32_t kNoToken = -1; // heard, but in no word of the grammar

struct SpokenGrammar {
    Sentences sentences;
    std::vector<std::vector<int32_t>> spellings; // of the tree's words, in tokens
    std::unordered_map<std::string, int32_t> tokens;
    std::vector<bool> carriesMeaning; // by token
    bool hasMeaning = false;          // any token does
};

// `spellings` are those of the tree's words, in the texts of the tokens; empty for a word that no
// sentence uses. False when the automaton would be too large.
bool makeSpoken(const RuleTree &tree, const Network &network,
                std::span<const std::vector<std::string>> spellings, SpokenGrammar *spoken);

// The text of a token sequence as numbers, kNoToken for what the grammar does not have.
std::vector<int32_t> tokensOf(const SpokenGrammar &spoken, std::span<const std::string> texts);

struct PathWord {
    int32_t word;       // index into the tree's words
    int32_t firstToken; // of those heard
    int32_t tokens;     // 0: not heard, but taken for said
};

using Path = std::vector<PathWord>;

// The sentence that is exactly these tokens.
std::optional<Path> exactPath(const SpokenGrammar &spoken, std::span<const int32_t> heard);

// The sentence that was meant where it differs from the tokens in filling words only: words that
// carry no meaning may have been misheard, left out or added, the others must all be there in their
// order. Nothing when too much differs, when another meaning is nearly as close, or when the
// grammar does not tell which words carry its meaning. `confidences` belong to the tokens: who was
// heard clearly is hard to overrule.
std::optional<Path> repairedPath(const SpokenGrammar &spoken, std::span<const int32_t> heard,
                                 std::span<const double> confidences);

enum class Progress {
    outside,  // no sentence begins with these tokens
    open,     // a sentence does
    complete, // they are a sentence, with which others begin
    closed,   // they are a sentence, and there is no other that begins with it
};

Progress progressOf(const SpokenGrammar &spoken, std::span<const int32_t> heard);

} // namespace vantel::ostrel
