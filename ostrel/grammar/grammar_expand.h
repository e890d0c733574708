// Steps of buildNetwork.
#pragma once

#include "ostrel/grammar/grammar_network.h"

namespace vantel::ostrel
{

constexpr size_t kMaxArcs = 200'000;

// Weights are compared in steps of this, so that rounding does not keep equal states apart.
constexpr double kWeightStep = 1e-6;
int64_t weightSteps(double weight);

using ArcLists = std::vector<std::vector<Arc>>;
ArcLists arcsByState(const Network &network);

// The network straight from the tree, with arcs without a word, and where in the text each state
// comes from. False with a diagnostic.
bool expandTree(const RuleTree &tree, Network *network, std::vector<Place> *places,
                Diagnostics *diagnostics);

// The same words and weights with at most one way through the network for each sequence of words,
// and one state for all that go on alike. False, and nothing changed, when that would not make the
// network smaller than four times what it is, or takes too much work to find out.
bool joinPrefixes(Network *network);

// An arc without a word for every way without one. False with a diagnostic when they are too many.
bool closeEmptyWays(const std::vector<Place> &places, Network *network, Diagnostics *diagnostics);

// Joins the states from which the same words with the same weights lead on. `finals` has the states
// at which the network can end, with the weight of that; each state has at most one arc for a word.
// Hopcroft, An n log n algorithm for minimizing states in a finite automaton, 1971.
Network joinAlike(const Network &network, const std::vector<std::pair<int32_t, double>> &finals);

} // namespace vantel::ostrel
