#include "ostrel/grammar/grammar_network.h"

#include "ostrel/grammar/grammar_expand.h"

#include <algorithm>

namespace vantel::ostrel
{
namespace
{

std::vector<bool> reachable(const Network &network, bool backwards)
{
    std::vector<std::vector<int32_t>> next(static_cast<size_t>(network.states));
    for (const Arc &arc : network.arcs)
        next[static_cast<size_t>(backwards ? arc.to : arc.from)].push_back(backwards ? arc.from
                                                                                     : arc.to);
    std::vector<bool> seen(next.size(), false);
    std::vector<int32_t> open{backwards ? network.final : network.start};
    while (!open.empty()) {
        auto state = static_cast<size_t>(open.back());
        open.pop_back();
        if (seen[state]) continue;
        seen[state] = true;
        open.insert(open.end(), next[state].begin(), next[state].end());
    }
    return seen;
}

// Takes away the arcs that lie on no way from the start to the end.
void dropDeadArcs(Network *network)
{
    std::vector<bool> fromStart = reachable(*network, false);
    std::vector<bool> toFinal = reachable(*network, true);
    std::erase_if(network->arcs, [&](const Arc &arc) {
        return !fromStart[static_cast<size_t>(arc.from)] || !toFinal[static_cast<size_t>(arc.to)];
    });
}

} // namespace

bool buildNetwork(const RuleTree &tree, Network *network, Diagnostics *diagnostics)
{
    if (!expandTree(tree, network, diagnostics)) return false;
    dropDeadArcs(network);
    bool hasWords = std::any_of(network->arcs.begin(), network->arcs.end(),
                                [](const Arc &arc) { return arc.word != kNoWord; });
    if (!hasWords) {
        Place place = tree.rules[static_cast<size_t>(publicRules(tree).front())].place;
        diagnostics->push_back({place, "the grammar is empty: its public rules match no words"});
        return false;
    }
    // A grammar that cannot be joined is searched as it stands, only slower.
    (void)joinPrefixes(network);
    return true;
}

} // namespace vantel::ostrel
