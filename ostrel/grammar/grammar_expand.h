// Steps of buildNetwork.
#pragma once

#include "ostrel/grammar/grammar_network.h"

namespace vantel::ostrel
{

constexpr size_t kMaxArcs = 200'000;

// The network straight from the tree, with arcs without a word. False with a diagnostic.
bool expandTree(const RuleTree &tree, Network *network, Diagnostics *diagnostics);

// The same words and weights with at most one way through the network for each sequence of words,
// and one state for all that go on alike. False, and nothing changed, when that would not make the
// network smaller than four times what it is.
bool joinPrefixes(Network *network);

} // namespace vantel::ostrel
