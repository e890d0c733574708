// Finds how a sequence of words follows from a grammar, and what it means.
#pragma once

#include "ostrel/grammar/jsgf.h"

#include <span>

namespace vantel::ostrel
{

struct Meaning {
    std::string rule; // the public rule that matched
    Json sem;         // the merged object tags; an empty object when there are none
};

enum class MatchResult {
    matched,
    unmatched, // the words are not of the grammar
    tooHard,   // given up: the work is bounded, and so are the words, at 400
};

// Where a sentence leaves the grammar: behind so many of its words, where these could go on.
struct Stuck {
    int32_t words = 0;
    std::vector<std::string> expected; // in the order of the grammar's text
    bool mayEnd = false;               // the sentence could end there
};

// Public rules are tried in the order of the text; of several ways through a rule the one that
// takes the first alternative, and as much as it can in each place, counts. The work grows with the
// size of the grammar times the words, in the worst case times the square of them. `stuck` may be
// null, and is filled when the words are not of the grammar.
MatchResult matchWords(const RuleTree &tree, std::span<const std::string> words, Meaning *meaning,
                       Stuck *stuck = nullptr);

} // namespace vantel::ostrel
