#include "ostrel/grammar/jsgf.h"

#include <algorithm>
#include <numeric>

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxReported = 20;

const Node &nodeAt(const RuleTree &tree, int32_t index)
{
    return tree.nodes[static_cast<size_t>(index)];
}

bool isBefore(Place a, Place b)
{
    return a.line != b.line ? a.line < b.line : a.column < b.column;
}

std::vector<int32_t> inTextOrder(const RuleTree &tree)
{
    std::vector<int32_t> indices(tree.rules.size());
    std::iota(indices.begin(), indices.end(), 0);
    std::sort(indices.begin(), indices.end(), [&](int32_t a, int32_t b) {
        return isBefore(tree.rules[static_cast<size_t>(a)].place,
                        tree.rules[static_cast<size_t>(b)].place);
    });
    return indices;
}

// Whether the node can match no words at all, as far as `nullableRules` knows. Recursion is as deep
// as groups are nested.
bool isNullable(const RuleTree &tree, int32_t index, const std::vector<bool> &nullableRules)
{
    const Node &node = nodeAt(tree, index);
    auto nullable = [&](int32_t child) { return isNullable(tree, child, nullableRules); };
    switch (node.kind) {
    case NodeKind::nothing:
    case NodeKind::tag:
    case NodeKind::optional:
    case NodeKind::star:
        return true;
    case NodeKind::never:
    case NodeKind::word:
        return false;
    case NodeKind::rule:
        return nullableRules[static_cast<size_t>(node.index)];
    case NodeKind::sequence:
    case NodeKind::plus:
        return std::all_of(node.children.begin(), node.children.end(), nullable);
    case NodeKind::choice:
        return std::any_of(node.children.begin(), node.children.end(), nullable);
    }
    return false;
}

std::vector<bool> findNullableRules(const RuleTree &tree)
{
    std::vector<bool> nullable(tree.rules.size(), false);
    // A grammar whose rules stand in the order of their use needs as many rounds as rules; going
    // through them backwards makes that order cheap, and the bound keeps the other cheap as well:
    // what it may miss are chains of empty rules longer than any grammar has.
    constexpr int32_t kMaxRounds = 200;
    bool changed = true;
    for (int32_t round = 0; changed && round < kMaxRounds; ++round) {
        changed = false;
        for (size_t i = tree.rules.size(); i-- > 0;)
            if (!nullable[i] && isNullable(tree, tree.rules[i].body, nullable))
                changed = nullable[i] = true;
    }
    return nullable;
}

struct Edge {
    int32_t to;
    Place place; // of the reference
};

// The rules with which a match of the node can begin.
void addLeftEdges(const RuleTree &tree, int32_t index, const std::vector<bool> &nullableRules,
                  std::vector<Edge> *edges)
{
    const Node &node = nodeAt(tree, index);
    if (node.kind == NodeKind::rule) edges->push_back({node.index, node.place});
    for (int32_t child : node.children) {
        addLeftEdges(tree, child, nullableRules, edges);
        if (node.kind == NodeKind::sequence && !isNullable(tree, child, nullableRules)) break;
    }
}

using Edges = std::vector<std::vector<Edge>>;

// Whether a chain of edges leads from `from` to `target`.
bool reaches(const Edges &edges, int32_t from, int32_t target)
{
    std::vector<bool> seen(edges.size(), false);
    std::vector<int32_t> open{from};
    while (!open.empty()) {
        int32_t rule = open.back();
        open.pop_back();
        if (rule == target) return true;
        if (seen[static_cast<size_t>(rule)]) continue;
        seen[static_cast<size_t>(rule)] = true;
        for (const Edge &edge : edges[static_cast<size_t>(rule)])
            open.push_back(edge.to);
    }
    return false;
}

// Takes away the edges of rules from which no cycle can be reached.
void keepCycles(Edges *edges)
{
    std::vector<std::vector<int32_t>> users(edges->size());
    std::vector<size_t> left(edges->size());
    std::vector<int32_t> open;
    for (size_t i = 0; i < edges->size(); ++i) {
        left[i] = (*edges)[i].size();
        for (const Edge &edge : (*edges)[i])
            users[static_cast<size_t>(edge.to)].push_back(static_cast<int32_t>(i));
        if (left[i] == 0) open.push_back(static_cast<int32_t>(i));
    }
    while (!open.empty()) {
        auto rule = static_cast<size_t>(open.back());
        open.pop_back();
        (*edges)[rule].clear();
        for (int32_t user : users[rule])
            if (--left[static_cast<size_t>(user)] == 0) open.push_back(user);
    }
}

void checkLeftRecursion(const RuleTree &tree, Diagnostics *diagnostics)
{
    std::vector<bool> nullable = findNullableRules(tree);
    Edges edges(tree.rules.size());
    for (size_t i = 0; i < tree.rules.size(); ++i)
        addLeftEdges(tree, tree.rules[i].body, nullable, &edges[i]);
    keepCycles(&edges);
    for (int32_t self : inTextOrder(tree)) {
        for (const Edge &edge : edges[static_cast<size_t>(self)]) {
            if (!reaches(edges, edge.to, self)) continue;
            diagnostics->push_back(
                {edge.place,
                 "<" + tree.rules[static_cast<size_t>(self)].name +
                     "> refers to itself before any word" +
                     (edge.to == self
                          ? std::string{}
                          : " by way of <" + tree.rules[static_cast<size_t>(edge.to)].name + ">")});
            return; // the others are mostly the same circle, seen from its other rules
        }
    }
}

void checkTagReferences(const RuleTree &tree, Diagnostics *diagnostics)
{
    for (const Node &node : tree.nodes) {
        if (node.kind != NodeKind::tag) continue;
        for (const std::string &name : tagReferences(tree.tags[static_cast<size_t>(node.index)])) {
            bool known = std::any_of(tree.rules.begin(), tree.rules.end(),
                                     [&](const Rule &rule) { return rule.name == name; });
            if (!known && diagnostics->size() < kMaxReported)
                diagnostics->push_back({node.place, "$" + name + " in this tag names no rule"});
        }
    }
}

} // namespace

void checkRules(const RuleTree &tree, Diagnostics *diagnostics)
{
    bool complete = true;
    bool hasPublic = false;
    for (const Rule &rule : tree.rules) {
        hasPublic = hasPublic || rule.isPublic;
        if (rule.body != -1) continue;
        complete = false;
        if (diagnostics->size() < kMaxReported)
            diagnostics->push_back({rule.place, "<" + rule.name + "> is not defined"});
    }
    if (!hasPublic) diagnostics->push_back({{}, "the grammar is empty: it has no public rule"});
    checkTagReferences(tree, diagnostics);
    if (complete) checkLeftRecursion(tree, diagnostics);
    std::stable_sort(
        diagnostics->begin(), diagnostics->end(),
        [](const Diagnostic &a, const Diagnostic &b) { return isBefore(a.place, b.place); });
}

std::vector<int32_t> publicRules(const RuleTree &tree)
{
    std::vector<int32_t> indices = inTextOrder(tree);
    std::erase_if(indices,
                  [&](int32_t index) { return !tree.rules[static_cast<size_t>(index)].isPublic; });
    return indices;
}

} // namespace vantel::ostrel
