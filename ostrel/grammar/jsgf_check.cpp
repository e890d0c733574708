#include "ostrel/grammar/circles.h"
#include "ostrel/grammar/jsgf.h"

#include <algorithm>
#include <numeric>
#include <string_view>
#include <unordered_set>

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

// By node: whether it can match no words at all.
std::vector<bool> findNullable(const RuleTree &tree)
{
    const size_t count = tree.nodes.size();
    std::vector<int32_t> parents(count, -1);
    std::vector<int32_t> bodyOf(count, -1);                          // the rule, for its body
    std::vector<std::vector<int32_t>> references(tree.rules.size()); // the nodes that refer to it
    std::vector<size_t> missing(count, 1); // children that are still to be found nullable
    std::vector<int32_t> open;
    for (size_t i = 0; i < tree.rules.size(); ++i)
        bodyOf[static_cast<size_t>(tree.rules[i].body)] = static_cast<int32_t>(i);
    for (size_t i = 0; i < count; ++i) {
        const Node &node = tree.nodes[i];
        const auto index = static_cast<int32_t>(i);
        for (int32_t child : node.children)
            parents[static_cast<size_t>(child)] = index;
        if (node.kind == NodeKind::rule)
            references[static_cast<size_t>(node.index)].push_back(index);
        if (node.kind == NodeKind::sequence) missing[i] = node.children.size();
        if (node.kind == NodeKind::nothing || node.kind == NodeKind::tag ||
            node.kind == NodeKind::optional || node.kind == NodeKind::star)
            open.push_back(index);
    }
    std::vector<bool> nullable(count, false);
    while (!open.empty()) {
        const auto at = static_cast<size_t>(open.back());
        open.pop_back();
        if (nullable[at]) continue;
        nullable[at] = true;
        if (parents[at] >= 0 && --missing[static_cast<size_t>(parents[at])] == 0)
            open.push_back(parents[at]);
        if (bodyOf[at] < 0) continue;
        const auto &users = references[static_cast<size_t>(bodyOf[at])];
        open.insert(open.end(), users.begin(), users.end());
    }
    return nullable;
}

struct Edge {
    int32_t to;
    Place place; // of the reference
};

// The rules with which a match of the node can begin. Recursion is as deep as groups are nested.
void addLeftEdges(const RuleTree &tree, int32_t index, const std::vector<bool> &nullable,
                  std::vector<Edge> *edges)
{
    const Node &node = nodeAt(tree, index);
    if (node.kind == NodeKind::rule) edges->push_back({node.index, node.place});
    for (int32_t child : node.children) {
        addLeftEdges(tree, child, nullable, edges);
        if (node.kind == NodeKind::sequence && !nullable[static_cast<size_t>(child)]) break;
    }
}

void checkLeftRecursion(const RuleTree &tree, Diagnostics *diagnostics)
{
    std::vector<bool> nullable = findNullable(tree);
    std::vector<std::vector<Edge>> edges(tree.rules.size());
    Successors successors(tree.rules.size());
    for (size_t i = 0; i < tree.rules.size(); ++i) {
        addLeftEdges(tree, tree.rules[i].body, nullable, &edges[i]);
        for (const Edge &edge : edges[i])
            successors[i].push_back(edge.to);
    }
    const std::vector<int32_t> circles = circlesOf(successors);
    for (int32_t self : inTextOrder(tree)) {
        for (const Edge &edge : edges[static_cast<size_t>(self)]) {
            if (circles[static_cast<size_t>(edge.to)] != circles[static_cast<size_t>(self)])
                continue;
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
    std::unordered_set<std::string_view> rules;
    for (const Rule &rule : tree.rules)
        rules.insert(rule.name);
    for (const Node &node : tree.nodes) {
        if (node.kind != NodeKind::tag) continue;
        for (const std::string &name : tagReferences(tree.tags[static_cast<size_t>(node.index)]))
            if (!rules.contains(name) && diagnostics->size() < kMaxReported)
                diagnostics->push_back({node.place, "$" + name + " in this tag names no rule"});
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
