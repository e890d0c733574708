#include "ostrel/grammar/circles.h"
#include "ostrel/grammar/grammar_expand.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace vantel::ostrel
{
namespace
{

// The bounds of what joining may cost: steps along an arc, and members of all subsets that are
// kept. A list of commands, however long, takes a few steps an arc; what needs more is a grammar
// that can go on in very many ways after the same words.
constexpr size_t kMaxSteps = 100'000'000;
constexpr size_t kMaxMembers = 2'000'000;
constexpr size_t kMaxPassed = 10; // states in a row

// A state of the old network, with what a way through it costs more than the best of its subset.
struct Member {
    int32_t state;
    double weight;
};

// What one state of the new network stands for, by state; what another member leads to without a
// word is left out.
using Subset = std::vector<Member>;
using SubsetKey = std::vector<std::pair<int32_t, int64_t>>;

struct Joining {
    const Network *old;
    ArcLists oldArcs;
    ArcLists emptyInto;           // the old arcs without a word, by where they lead
    std::vector<int32_t> circles; // of such arcs, by old state
    std::vector<Member> ahead;    // by old state: where its only way, without a word, leads
    std::map<SubsetKey, int32_t> numbers;
    std::vector<Subset> subsets; // by the new state's number
    std::vector<std::pair<int32_t, double>> finals;
    Network result;
    // The closure that is being worked out: the best weight of each state that is in it.
    std::vector<double> weights;
    std::vector<bool> inside;
    std::vector<int32_t> reached;
    size_t steps = 0;
    size_t members = 0;
};

bool isInside(const Joining &joining, int32_t state)
{
    return joining.inside[static_cast<size_t>(state)];
}

double &weightOf(Joining *joining, int32_t state)
{
    return joining->weights[static_cast<size_t>(state)];
}

void clear(Joining *joining)
{
    for (int32_t state : joining->reached)
        joining->inside[static_cast<size_t>(state)] = false;
    joining->reached.clear();
}

// Whether that was the first or a better way to the state.
bool reach(Joining *joining, int32_t state, double weight)
{
    if (isInside(*joining, state) && weightOf(joining, state) >= weight) return false;
    if (!isInside(*joining, state)) joining->reached.push_back(state);
    joining->inside[static_cast<size_t>(state)] = true;
    weightOf(joining, state) = weight;
    return true;
}

// Fills the closure with the subset and what can be reached from it without a word.
void close(Joining *joining, const Subset &subset)
{
    clear(joining);
    std::vector<int32_t> open;
    for (const Member &member : subset)
        if (reach(joining, member.state, member.weight)) open.push_back(member.state);
    for (size_t i = 0; i < open.size() && joining->steps <= kMaxSteps; ++i) {
        const double weight = weightOf(joining, open[i]);
        for (const Arc &arc : joining->oldArcs[static_cast<size_t>(open[i])]) {
            joining->steps++;
            if (arc.word == kNoWord && reach(joining, arc.to, weight + arc.logProb))
                open.push_back(arc.to);
        }
    }
}

// A state with nothing but one arc without a word is as good as the one behind it.
std::vector<Member> lookAhead(const ArcLists &arcs)
{
    std::vector<Member> ahead;
    for (size_t state = 0; state < arcs.size(); ++state) {
        Member at{static_cast<int32_t>(state), 0};
        auto isPassed = [&] {
            const std::vector<Arc> &out = arcs[static_cast<size_t>(at.state)];
            return out.size() == 1 && out[0].word == kNoWord;
        };
        for (size_t steps = 0; isPassed() && steps < kMaxPassed; ++steps) {
            const Arc &arc = arcs[static_cast<size_t>(at.state)][0];
            at = {arc.to, at.weight + arc.logProb};
        }
        ahead.push_back(at);
    }
    return ahead;
}

// The best weight of each state, the best of all at 0, without what the others lead to: that keeps
// subsets of long rows of optional words short.
Subset reduced(Joining *joining, const std::vector<Member> &targets, double *best)
{
    clear(joining);
    *best = -HUGE_VAL;
    for (Member target : targets) {
        const Member &ahead = joining->ahead[static_cast<size_t>(target.state)];
        target = {ahead.state, target.weight + ahead.weight};
        reach(joining, target.state, target.weight);
        *best = std::max(*best, target.weight);
    }
    std::sort(joining->reached.begin(), joining->reached.end());
    Subset subset;
    for (int32_t state : joining->reached) {
        const double weight = weightOf(joining, state);
        const std::vector<Arc> &into = joining->emptyInto[static_cast<size_t>(state)];
        joining->steps += into.size() + 1;
        bool implied = std::any_of(into.begin(), into.end(), [&](const Arc &arc) {
            return isInside(*joining, arc.from) &&
                   joining->circles[static_cast<size_t>(arc.from)] !=
                       joining->circles[static_cast<size_t>(state)] &&
                   weightOf(joining, arc.from) + arc.logProb >= weight - kWeightStep / 1000;
        });
        if (!implied) subset.push_back({state, weight - *best});
    }
    return subset;
}

int32_t numberOf(Joining *joining, Subset subset)
{
    SubsetKey key;
    for (const Member &member : subset)
        key.emplace_back(member.state, weightSteps(member.weight));
    auto [entry, isNew] = joining->numbers.try_emplace(std::move(key), joining->result.states);
    if (isNew) {
        joining->result.states++;
        joining->members += subset.size();
        joining->subsets.push_back(std::move(subset));
    }
    return entry->second;
}

// The arcs of one new state, sorted by word.
void joinArcs(Joining *joining, int32_t state)
{
    close(joining, joining->subsets[static_cast<size_t>(state)]);
    std::map<int32_t, std::vector<Member>> targets; // by word
    for (int32_t old : joining->reached) {
        const double weight = weightOf(joining, old);
        if (old == joining->old->final) joining->finals.emplace_back(state, weight);
        for (const Arc &arc : joining->oldArcs[static_cast<size_t>(old)])
            if (arc.word != kNoWord) targets[arc.word].push_back({arc.to, weight + arc.logProb});
    }
    for (const auto &[word, members] : targets) {
        double best = 0;
        Subset subset = reduced(joining, members, &best);
        joining->result.arcs.push_back({state, numberOf(joining, std::move(subset)), word, best});
    }
}

} // namespace

bool joinPrefixes(Network *network)
{
    const size_t limit = std::min(4 * network->arcs.size() + 1000, kMaxArcs);
    Joining joining;
    joining.old = network;
    joining.oldArcs = arcsByState(*network);
    joining.ahead = lookAhead(joining.oldArcs);
    joining.emptyInto.resize(joining.oldArcs.size());
    joining.weights.resize(joining.oldArcs.size());
    joining.inside.resize(joining.oldArcs.size());
    Successors emptyFrom(joining.oldArcs.size());
    for (const Arc &arc : network->arcs) {
        if (arc.word != kNoWord) continue;
        joining.emptyInto[static_cast<size_t>(arc.to)].push_back(arc);
        emptyFrom[static_cast<size_t>(arc.from)].push_back(arc.to);
    }
    joining.circles = circlesOf(emptyFrom);
    numberOf(&joining, {{network->start, 0.0}});
    for (int32_t state = 0; state < joining.result.states; ++state) {
        joinArcs(&joining, state);
        if (joining.result.arcs.size() > limit || joining.steps > kMaxSteps ||
            joining.members > kMaxMembers)
            return false;
    }
    *network = joinAlike(joining.result, joining.finals);
    return true;
}

} // namespace vantel::ostrel
