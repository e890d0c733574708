#include "ostrel/grammar/grammar_network.h"

#include "ostrel/grammar/grammar_expand.h"

#include <algorithm>
#include <cmath>
#include <deque>

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

// The ways without a word from each state to another; the decoder would find them too, in the third
// power of their length.
constexpr size_t kMaxEmptyWays = 300'000;

} // namespace

int64_t weightSteps(double weight)
{
    return std::llround(weight / kWeightStep);
}

ArcLists arcsByState(const Network &network)
{
    ArcLists lists(static_cast<size_t>(network.states));
    for (const Arc &arc : network.arcs)
        lists[static_cast<size_t>(arc.from)].push_back(arc);
    return lists;
}

bool closeEmptyWays(const std::vector<Place> &places, Network *network, Diagnostics *diagnostics)
{
    ArcLists arcs = arcsByState(*network);
    std::vector<Arc> ways;
    std::vector<double> best(arcs.size(), -HUGE_VAL);
    size_t mostFrom = 0; // the state with the most of them
    size_t most = 0;
    for (size_t from = 0; from < arcs.size(); ++from) {
        std::vector<size_t> reached{from};
        best[from] = 0;
        for (std::deque<size_t> open{from}; !open.empty(); open.pop_front()) {
            for (const Arc &arc : arcs[open.front()]) {
                auto to = static_cast<size_t>(arc.to);
                const double weight = best[open.front()] + arc.logProb;
                if (arc.word != kNoWord || best[to] >= weight) continue;
                if (best[to] == -HUGE_VAL) reached.push_back(to);
                best[to] = weight;
                open.push_back(to);
            }
        }
        if (reached.size() > most) {
            most = reached.size();
            mostFrom = from;
        }
        for (size_t to : reached) {
            if (to != from)
                ways.push_back(
                    {static_cast<int32_t>(from), static_cast<int32_t>(to), kNoWord, best[to]});
            best[to] = -HUGE_VAL;
        }
        if (ways.size() > kMaxEmptyWays) {
            diagnostics->push_back({places[mostFrom], "too many parts in a row can be left out"});
            return false;
        }
    }
    std::erase_if(network->arcs, [](const Arc &arc) { return arc.word == kNoWord; });
    network->arcs.insert(network->arcs.end(), ways.begin(), ways.end());
    return true;
}

bool buildNetwork(const RuleTree &tree, Network *network, Diagnostics *diagnostics)
{
    std::vector<Place> places;
    if (!expandTree(tree, network, &places, diagnostics)) return false;
    dropDeadArcs(network);
    bool hasWords = std::any_of(network->arcs.begin(), network->arcs.end(),
                                [](const Arc &arc) { return arc.word != kNoWord; });
    if (!hasWords) {
        Place place = tree.rules[static_cast<size_t>(publicRules(tree).front())].place;
        diagnostics->push_back({place, "the grammar is empty: its public rules match no words"});
        return false;
    }
    // A grammar that cannot be joined is searched as it stands, only slower.
    return joinPrefixes(network) || closeEmptyWays(places, network, diagnostics);
}

} // namespace vantel::ostrel
