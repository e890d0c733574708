#include "ostrel/grammar/grammar_expand.h"

#include <algorithm>
#include <map>
#include <numeric>

namespace vantel::ostrel
{
namespace
{

using Label = std::pair<int32_t, int64_t>; // word, steps of weight

struct Into {
    Label label;
    int32_t from;
};

// States in groups that get smaller until all of a group are alike. Each group is a stretch of
// `order`; while it is being split, its marked states stand first.
struct Partition {
    std::vector<int32_t> order;
    std::vector<size_t> position; // of each state in `order`
    std::vector<int32_t> group;   // of each state
    struct Stretch {
        size_t begin;
        size_t end;
        size_t marked;
        bool isOpen; // whether others are still to be split by it
    };
    std::vector<Stretch> stretches;
    std::vector<int32_t> open;
    std::vector<int32_t> touched; // the groups with marked states
};

void addStretch(Partition *partition, size_t begin, size_t end, bool isOpen)
{
    auto group = static_cast<int32_t>(partition->stretches.size());
    partition->stretches.push_back({begin, end, begin, isOpen});
    for (size_t i = begin; i < end; ++i)
        partition->group[static_cast<size_t>(partition->order[i])] = group;
    if (isOpen) partition->open.push_back(group);
}

// First by how the network can end at a state, and with what weight.
Partition partitionByEnd(int32_t states, const std::vector<std::pair<int32_t, double>> &finals)
{
    Partition partition;
    const auto count = static_cast<size_t>(states);
    partition.order.resize(count);
    partition.position.resize(count);
    partition.group.resize(count);
    std::iota(partition.order.begin(), partition.order.end(), 0);
    std::vector<int64_t> ends(count, 1); // a weight is never above 0
    for (const auto &[state, weight] : finals)
        ends[static_cast<size_t>(state)] = weightSteps(weight);
    auto end = [&](size_t i) { return ends[static_cast<size_t>(partition.order[i])]; };
    std::stable_sort(partition.order.begin(), partition.order.end(), [&](int32_t a, int32_t b) {
        return ends[static_cast<size_t>(a)] < ends[static_cast<size_t>(b)];
    });
    for (size_t begin = 0, i = 0; i < count; ++i) {
        partition.position[static_cast<size_t>(partition.order[i])] = i;
        if (i + 1 < count && end(i + 1) == end(begin)) continue;
        addStretch(&partition, begin, i + 1, true);
        begin = i + 1;
    }
    return partition;
}

void mark(Partition *partition, int32_t state)
{
    const int32_t group = partition->group[static_cast<size_t>(state)];
    Partition::Stretch &stretch = partition->stretches[static_cast<size_t>(group)];
    const size_t at = partition->position[static_cast<size_t>(state)];
    if (at < stretch.marked) return;
    if (stretch.marked == stretch.begin) partition->touched.push_back(group);
    const int32_t other = partition->order[stretch.marked];
    std::swap(partition->order[at], partition->order[stretch.marked]);
    partition->position[static_cast<size_t>(other)] = at;
    partition->position[static_cast<size_t>(state)] = stretch.marked++;
}

// Parts the marked states of each group from the others. The smaller half becomes a group of its
// own; the other halves still to be split need to be split by only one of the two.
void splitTouched(Partition *partition)
{
    for (int32_t group : partition->touched) {
        Partition::Stretch &stretch = partition->stretches[static_cast<size_t>(group)];
        const auto [begin, end, marked, isOpen] = stretch;
        stretch.marked = begin;
        if (marked == end) continue;
        const bool frontIsSmaller = marked - begin <= end - marked;
        stretch = frontIsSmaller ? Partition::Stretch{marked, end, marked, isOpen}
                                 : Partition::Stretch{begin, marked, begin, isOpen};
        addStretch(partition, frontIsSmaller ? begin : marked, frontIsSmaller ? marked : end, true);
    }
    partition->touched.clear();
}

// By state: a number that states have in common which are alike.
std::vector<int32_t> alikeGroups(const Network &network,
                                 const std::vector<std::pair<int32_t, double>> &finals)
{
    std::vector<std::vector<Into>> into(static_cast<size_t>(network.states));
    for (const Arc &arc : network.arcs)
        into[static_cast<size_t>(arc.to)].push_back(
            {{arc.word, weightSteps(arc.logProb)}, arc.from});
    Partition partition = partitionByEnd(network.states, finals);
    std::vector<Into> arcs;
    while (!partition.open.empty()) {
        Partition::Stretch &splitter =
            partition.stretches[static_cast<size_t>(partition.open.back())];
        partition.open.pop_back();
        splitter.isOpen = false;
        arcs.clear();
        for (size_t i = splitter.begin; i < splitter.end; ++i) {
            const auto &those = into[static_cast<size_t>(partition.order[i])];
            arcs.insert(arcs.end(), those.begin(), those.end());
        }
        std::sort(arcs.begin(), arcs.end(),
                  [](const Into &a, const Into &b) { return a.label < b.label; });
        for (size_t i = 0; i < arcs.size(); ++i) {
            mark(&partition, arcs[i].from);
            if (i + 1 == arcs.size() || arcs[i + 1].label != arcs[i].label)
                splitTouched(&partition);
        }
    }
    return partition.group;
}

} // namespace

Network joinAlike(const Network &network, const std::vector<std::pair<int32_t, double>> &finals)
{
    const std::vector<int32_t> groups = alikeGroups(network, finals);
    auto groupOf = [&](int32_t state) {
        return static_cast<size_t>(groups[static_cast<size_t>(state)]);
    };
    // One state for each group, in the order of their first states, and one end for all.
    std::vector<int32_t> numbers(groups.size(), -1);
    std::vector<int32_t> first; // by the new number
    for (int32_t state = 0; state < network.states; ++state) {
        int32_t &number = numbers[groupOf(state)];
        if (number >= 0) continue;
        number = static_cast<int32_t>(first.size());
        first.push_back(state);
    }
    auto numberOf = [&](int32_t state) { return numbers[groupOf(state)]; };
    auto speaks = [&](int32_t state) {
        return first[static_cast<size_t>(numberOf(state))] == state;
    };
    Network result;
    result.states = static_cast<int32_t>(first.size()) + 1;
    result.start = numberOf(network.start);
    result.final = result.states - 1;
    for (const Arc &arc : network.arcs)
        if (speaks(arc.from))
            result.arcs.push_back({numberOf(arc.from), numberOf(arc.to), arc.word, arc.logProb});
    for (const auto &[state, weight] : finals)
        if (speaks(state)) result.arcs.push_back({numberOf(state), result.final, kNoWord, weight});
    return result;
}

} // namespace vantel::ostrel
