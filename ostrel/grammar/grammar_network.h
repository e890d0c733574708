// A grammar as the network of words that the decoder searches.
//
// Rules are expanded in place, common beginnings and endings of alternatives are joined, so that a
// long list of commands costs little more than its distinct words. A rule may refer to itself only
// as the last thing of its body, which makes a loop.
#pragma once

#include "ostrel/grammar/jsgf.h"

namespace vantel::ostrel
{

constexpr int32_t kNoWord = -1;

struct Arc {
    int32_t from;
    int32_t to;
    int32_t word;   // index into the tree's words, or kNoWord
    double logProb; // natural logarithm, 0 or less
};

struct Network {
    int32_t states = 0;
    int32_t start = 0;
    int32_t final = 0;
    std::vector<Arc> arcs;
};

// False with a diagnostic when a rule refers to itself in another place, when the grammar matches
// no words at all, or when it expands beyond 200,000 arcs.
bool buildNetwork(const RuleTree &tree, Network *network, Diagnostics *diagnostics);

} // namespace vantel::ostrel
