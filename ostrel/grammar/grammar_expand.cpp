#include "ostrel/grammar/grammar_expand.h"

#include <cmath>
#include <numeric>

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxDepth = 1000;      // nodes inside each other
constexpr size_t kMaxNodes = 2'000'000; // visited; parts that never match make no arcs

struct OpenRule {
    int32_t rule;
    int32_t entry;
    int32_t exit;
};

struct Expansion {
    const RuleTree *tree;
    Network *network;
    std::vector<Place> *places; // by state
    Diagnostics *diagnostics;
    std::vector<OpenRule> open; // the rules that are being expanded, outermost first
    Place place;                // of the node that is being expanded
    size_t depth = 0;
    size_t nodes = 0;
};

bool fail(Expansion *expansion, Place place, std::string message)
{
    expansion->diagnostics->push_back({place, std::move(message)});
    return false;
}

int32_t newState(Expansion *expansion)
{
    expansion->places->push_back(expansion->place);
    return expansion->network->states++;
}

void link(Expansion *expansion, int32_t from, int32_t to, int32_t word = kNoWord,
          double logProb = 0)
{
    expansion->network->arcs.push_back({from, to, word, logProb});
}

bool expand(Expansion *expansion, int32_t index, int32_t from, int32_t to);

bool expandRule(Expansion *expansion, const Node &node, int32_t from, int32_t to)
{
    const Rule &rule = expansion->tree->rules[static_cast<size_t>(node.index)];
    for (const OpenRule &open : expansion->open) {
        if (open.rule != node.index) continue;
        if (open.exit != to)
            return fail(expansion, node.place,
                        "<" + rule.name + "> refers to itself, but not as its last part");
        link(expansion, from, open.entry);
        return true;
    }
    // An entry of its own, so that coming back to it does not pass what leads to `from`.
    int32_t entry = newState(expansion);
    link(expansion, from, entry);
    expansion->open.push_back({node.index, entry, to});
    bool done = expand(expansion, rule.body, entry, to);
    expansion->open.pop_back();
    return done;
}

bool expandSequence(Expansion *expansion, const Node &node, int32_t from, int32_t to)
{
    for (size_t i = 0; i < node.children.size(); ++i) {
        int32_t end = to;
        if (i + 1 < node.children.size()) {
            expansion->place =
                expansion->tree->nodes[static_cast<size_t>(node.children[i + 1])].place;
            end = newState(expansion);
        }
        if (!expand(expansion, node.children[i], from, end)) return false;
        from = end;
    }
    return true;
}

bool expandChoice(Expansion *expansion, const Node &node, int32_t from, int32_t to)
{
    double total = std::accumulate(node.weights.begin(), node.weights.end(), 0.0);
    for (size_t i = 0; i < node.children.size(); ++i) {
        int32_t start = from;
        if (!node.weights.empty()) {
            start = newState(expansion);
            link(expansion, from, start, kNoWord, std::log(node.weights[i] / total));
        }
        if (!expand(expansion, node.children[i], start, to)) return false;
    }
    return true;
}

bool expandLoop(Expansion *expansion, const Node &node, int32_t from, int32_t to)
{
    int32_t before = newState(expansion);
    int32_t after = newState(expansion);
    link(expansion, from, before);
    link(expansion, after, before);
    link(expansion, after, to);
    if (node.kind == NodeKind::star) link(expansion, from, to);
    return expand(expansion, node.children[0], before, after);
}

bool expandNode(Expansion *expansion, const Node &node, int32_t from, int32_t to)
{
    switch (node.kind) {
    case NodeKind::nothing:
    case NodeKind::tag:
        link(expansion, from, to);
        return true;
    case NodeKind::never:
        return true;
    case NodeKind::word:
        link(expansion, from, to, node.index);
        return true;
    case NodeKind::rule:
        return expandRule(expansion, node, from, to);
    case NodeKind::sequence:
        return expandSequence(expansion, node, from, to);
    case NodeKind::choice:
        return expandChoice(expansion, node, from, to);
    case NodeKind::optional:
        link(expansion, from, to);
        return expand(expansion, node.children[0], from, to);
    case NodeKind::star:
    case NodeKind::plus:
        return expandLoop(expansion, node, from, to);
    }
    return true;
}

bool expand(Expansion *expansion, int32_t index, int32_t from, int32_t to)
{
    const Node &node = expansion->tree->nodes[static_cast<size_t>(index)];
    if (expansion->depth == kMaxDepth)
        return fail(expansion, node.place, "rules are nested too deep");
    if (expansion->network->arcs.size() > kMaxArcs || ++expansion->nodes > kMaxNodes)
        return fail(expansion, node.place, "the grammar is too large: more than 200000 arcs");
    expansion->depth++;
    expansion->place = node.place;
    bool done = expandNode(expansion, node, from, to);
    expansion->depth--;
    return done;
}

} // namespace

bool expandTree(const RuleTree &tree, Network *network, std::vector<Place> *places,
                Diagnostics *diagnostics)
{
    *network = {};
    Expansion expansion{&tree, network, places, diagnostics, {}, {}, 0, 0};
    const std::vector<int32_t> rules = publicRules(tree);
    if (!rules.empty()) expansion.place = tree.rules[static_cast<size_t>(rules.front())].place;
    network->start = newState(&expansion);
    network->final = newState(&expansion);
    for (int32_t index : rules) {
        Node reference;
        reference.kind = NodeKind::rule;
        reference.index = index;
        reference.place = tree.rules[static_cast<size_t>(index)].place;
        if (!expandRule(&expansion, reference, network->start, network->final)) return false;
    }
    return true;
}

} // namespace vantel::ostrel
