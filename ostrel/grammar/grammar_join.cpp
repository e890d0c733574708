#include "ostrel/grammar/grammar_expand.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace vantel::ostrel
{
namespace
{

// Weights are compared in steps of this, so that rounding does not keep equal states apart.
constexpr double kWeightStep = 1e-6;

int64_t steps(double weight)
{
    return std::llround(weight / kWeightStep);
}

using ArcLists = std::vector<std::vector<Arc>>;

ArcLists arcsByState(const Network &network)
{
    ArcLists lists(static_cast<size_t>(network.states));
    for (const Arc &arc : network.arcs)
        lists[static_cast<size_t>(arc.from)].push_back(arc);
    return lists;
}

// States of the old network that one state of the new one stands for, each with what a way through
// it costs more than the best of them.
using Subset = std::map<int32_t, double>;
using SubsetKey = std::vector<std::pair<int32_t, int64_t>>;

// Adds what can be reached without a word.
void close(const ArcLists &arcs, Subset *subset)
{
    std::vector<int32_t> open;
    for (const auto &[state, weight] : *subset)
        open.push_back(state);
    while (!open.empty()) {
        int32_t from = open.back();
        open.pop_back();
        double weight = (*subset)[from];
        for (const Arc &arc : arcs[static_cast<size_t>(from)]) {
            if (arc.word != kNoWord) continue;
            auto [entry, isNew] = subset->try_emplace(arc.to, weight + arc.logProb);
            if (!isNew && entry->second >= weight + arc.logProb) continue;
            entry->second = weight + arc.logProb;
            open.push_back(arc.to);
        }
    }
}

SubsetKey keyOf(const Subset &subset)
{
    SubsetKey key;
    for (const auto &[state, weight] : subset)
        key.emplace_back(state, steps(weight));
    return key;
}

struct Joining {
    const Network *old;
    ArcLists oldArcs;
    std::map<SubsetKey, int32_t> numbers;
    std::vector<Subset> subsets; // by the new state's number
    Network result;
};

int32_t numberOf(Joining *joining, Subset subset)
{
    auto [entry, isNew] = joining->numbers.try_emplace(keyOf(subset), joining->result.states);
    if (isNew) {
        joining->result.states++;
        joining->subsets.push_back(std::move(subset));
    }
    return entry->second;
}

// The arcs of one new state. `final` is its arc to the end of the network, when it has one.
void joinArcs(Joining *joining, int32_t state, std::map<int32_t, double> *finals)
{
    Subset subset = joining->subsets[static_cast<size_t>(state)];
    close(joining->oldArcs, &subset);
    std::map<int32_t, Subset> targets; // by word
    for (const auto &[old, weight] : subset) {
        if (old == joining->old->final) (*finals)[state] = weight;
        for (const Arc &arc : joining->oldArcs[static_cast<size_t>(old)]) {
            if (arc.word == kNoWord) continue;
            auto [entry, isNew] = targets[arc.word].try_emplace(arc.to, weight + arc.logProb);
            if (!isNew) entry->second = std::max(entry->second, weight + arc.logProb);
        }
    }
    for (auto &[word, target] : targets) {
        double best = std::max_element(target.begin(), target.end(), [](auto &a, auto &b) {
                          return a.second < b.second;
                      })->second;
        for (auto &[old, weight] : target)
            weight -= best;
        int32_t to = numberOf(joining, std::move(target));
        joining->result.arcs.push_back({state, to, word, best});
    }
}

// Finds the states from which the same words with the same weights lead on.
std::vector<int32_t> alikeClasses(const Network &network, const std::map<int32_t, double> &finals,
                                  int32_t *count)
{
    ArcLists arcs = arcsByState(network);
    std::vector<int32_t> classes(arcs.size(), 0);
    *count = 1;
    for (;;) {
        using Signature = std::vector<int64_t>;
        std::map<Signature, int32_t> numbers;
        std::vector<int32_t> next(arcs.size());
        for (size_t state = 0; state < arcs.size(); ++state) {
            auto final = finals.find(static_cast<int32_t>(state));
            Signature signature{classes[state], final == finals.end() ? 1 : steps(final->second)};
            for (const Arc &arc : arcs[state]) // sorted by word, as joinArcs made them
                signature.insert(signature.end(), {arc.word, steps(arc.logProb),
                                                   classes[static_cast<size_t>(arc.to)]});
            next[state] =
                numbers.try_emplace(signature, static_cast<int32_t>(numbers.size())).first->second;
        }
        bool stable = static_cast<int32_t>(numbers.size()) == *count;
        *count = static_cast<int32_t>(numbers.size());
        classes = std::move(next);
        if (stable) return classes;
    }
}

// One state for each class, and one end for all.
Network joinAlike(const Network &network, const std::map<int32_t, double> &finals)
{
    int32_t count = 0;
    std::vector<int32_t> classes = alikeClasses(network, finals, &count);
    auto classOf = [&](int32_t state) { return classes[static_cast<size_t>(state)]; };
    Network result;
    result.states = count + 1;
    result.start = classOf(network.start);
    result.final = count;
    std::vector<bool> done(static_cast<size_t>(count), false);
    ArcLists arcs = arcsByState(network);
    for (int32_t state = 0; state < network.states; ++state) {
        auto known = done.begin() + classOf(state);
        if (*known) continue;
        *known = true;
        for (const Arc &arc : arcs[static_cast<size_t>(state)])
            result.arcs.push_back({classOf(state), classOf(arc.to), arc.word, arc.logProb});
        if (auto final = finals.find(state); final != finals.end())
            result.arcs.push_back({classOf(state), result.final, kNoWord, final->second});
    }
    return result;
}

} // namespace

bool joinPrefixes(Network *network)
{
    const size_t limit = 4 * network->arcs.size() + 1000;
    Joining joining{network, arcsByState(*network), {}, {}, {}};
    std::map<int32_t, double> finals;
    numberOf(&joining, {{network->start, 0.0}});
    for (int32_t state = 0; state < joining.result.states; ++state) {
        joinArcs(&joining, state, &finals);
        if (joining.result.arcs.size() > limit) return false;
    }
    *network = joinAlike(joining.result, finals);
    return true;
}

} // namespace vantel::ostrel
