#include "ostrel/jsgf_matcher.h"

#include <algorithm>
#include <unordered_map>

namespace vantel::ostrel
{
namespace
{

constexpr int64_t kMaxSteps = 1'000'000;
constexpr int32_t kMaxDepth = 1000; // nodes inside each other; some hundred kilobytes of stack
constexpr size_t kMaxWords = 1000;

// Sorted positions between words.
using Ends = std::vector<int32_t>;

struct Matcher {
    const RuleTree *tree;
    std::vector<int32_t> words; // indices into the tree's words; -1 for one it does not have
    // Where matches of a node that begin at a position can end, by node and position. An entry that
    // is being worked out is empty, which ends left recursion.
    std::unordered_map<int64_t, Ends> known;
    int64_t steps = 0;
    int32_t depth = 0;
    bool givenUp = false;
};

const Node &nodeAt(const Matcher &matcher, int32_t index)
{
    return matcher.tree->nodes[static_cast<size_t>(index)];
}

void addEnds(Ends *ends, const Ends &more)
{
    Ends both;
    both.reserve(ends->size() + more.size());
    std::set_union(ends->begin(), ends->end(), more.begin(), more.end(), std::back_inserter(both));
    *ends = std::move(both);
}

bool contains(const Ends &ends, int32_t end)
{
    return std::binary_search(ends.begin(), ends.end(), end);
}

Ends endsOf(Matcher *matcher, int32_t index, int32_t from);

// Where `child` repeated from any of `starts` can end, the starts included.
Ends repeatedEnds(Matcher *matcher, int32_t child, const Ends &starts)
{
    Ends reached = starts;
    std::vector<int32_t> open = starts;
    while (!open.empty()) {
        int32_t from = open.back();
        open.pop_back();
        for (int32_t end : endsOf(matcher, child, from)) {
            if (contains(reached, end)) continue;
            addEnds(&reached, {end});
            open.push_back(end);
        }
    }
    return reached;
}

Ends childrenEnds(Matcher *matcher, const Node &node, int32_t from)
{
    Ends ends;
    switch (node.kind) {
    case NodeKind::nothing:
    case NodeKind::tag:
        return {from};
    case NodeKind::never:
        return {};
    case NodeKind::word:
        if (static_cast<size_t>(from) < matcher->words.size() &&
            matcher->words[static_cast<size_t>(from)] == node.index)
            return {from + 1};
        return {};
    case NodeKind::rule:
        return endsOf(matcher, matcher->tree->rules[static_cast<size_t>(node.index)].body, from);
    case NodeKind::sequence:
        ends = {from};
        for (int32_t child : node.children) {
            Ends next;
            for (int32_t start : ends)
                addEnds(&next, endsOf(matcher, child, start));
            ends = std::move(next);
        }
        return ends;
    case NodeKind::choice:
        for (int32_t child : node.children)
            addEnds(&ends, endsOf(matcher, child, from));
        return ends;
    case NodeKind::optional:
        ends = {from};
        addEnds(&ends, endsOf(matcher, node.children[0], from));
        return ends;
    case NodeKind::star:
        return repeatedEnds(matcher, node.children[0], {from});
    case NodeKind::plus:
        return repeatedEnds(matcher, node.children[0], endsOf(matcher, node.children[0], from));
    }
    return {};
}

Ends endsOf(Matcher *matcher, int32_t index, int32_t from)
{
    const int64_t key = static_cast<int64_t>(index) << 32 | from;
    if (matcher->givenUp) return {};
    if (auto found = matcher->known.find(key); found != matcher->known.end()) {
        matcher->steps += 1 + static_cast<int64_t>(found->second.size());
        return found->second;
    }
    if (++matcher->steps > kMaxSteps || matcher->depth == kMaxDepth) {
        matcher->givenUp = true;
        return {};
    }
    matcher->known[key];
    matcher->depth++;
    Ends ends = childrenEnds(matcher, nodeAt(*matcher, index), from);
    matcher->depth--;
    matcher->known[key] = ends;
    return ends;
}

// A tag that was met, with its place among the captures of its rule.
struct MetTag {
    const GrammarTag *tag;
    size_t at;
    Json *slot; // of the meaning, for an object
};

// One use of a rule on the way through the grammar.
struct Frame {
    std::vector<Capture> captures;
    std::vector<MetTag> tags;
    const GrammarTag *lastValue = nullptr;
    size_t lastValueAt = 0;
};

struct Walk {
    Matcher *matcher;
    std::span<const std::string> words;
    std::vector<std::unique_ptr<Json>> objects; // in the order of the match
    int32_t depth = 0;
};

void walk(Walk *path, int32_t index, int32_t from, int32_t to, Frame *frame);

SharedJson textBetween(const Walk &path, int32_t from, int32_t to)
{
    std::string text;
    for (int32_t i = from; i < to; ++i)
        text += (i > from ? " " : "") + path.words[static_cast<size_t>(i)];
    return sharedJson(Json{cJSON_CreateString(text.c_str())});
}

// Walks a rule's body and gives its value: the last value tag, else all its object tags, else its
// words. `frame`, of the rule that refers to it, gains the captures.
void walkRule(Walk *path, int32_t ruleIndex, int32_t from, int32_t to, Frame *frame)
{
    const Rule &rule = path->matcher->tree->rules[static_cast<size_t>(ruleIndex)];
    Frame own;
    walk(path, rule.body, from, to, &own);
    SharedJson value;
    Json merged;
    for (const MetTag &met : own.tags) {
        *met.slot = fillTag(*met.tag, own.captures, met.at);
        if (!merged) merged.reset(cJSON_CreateObject());
        mergeJson(merged.get(), met.slot->get());
    }
    if (own.lastValue) value = sharedJson(fillTag(*own.lastValue, own.captures, own.lastValueAt));
    if (!value) value = merged ? sharedJson(std::move(merged)) : textBetween(*path, from, to);
    if (!frame) return;
    for (Capture &capture : own.captures) {
        capture.direct = false;
        frame->captures.push_back(std::move(capture));
    }
    frame->captures.push_back({rule.name, std::move(value), true});
}

void meetTag(Walk *path, const GrammarTag &tag, Frame *frame)
{
    if (!tag.isObject) {
        frame->lastValue = &tag;
        frame->lastValueAt = frame->captures.size();
        return;
    }
    path->objects.push_back(std::make_unique<Json>());
    frame->tags.push_back({&tag, frame->captures.size(), path->objects.back().get()});
}

// The way through a sequence: for each child the longest match from which the rest can still reach
// the end.
void walkSequence(Walk *path, const Node &node, int32_t from, int32_t to, Frame *frame)
{
    const std::vector<int32_t> &children = node.children;
    std::vector<Ends> starts(children.size() + 1); // forward, then those that lead to the end
    starts[0] = {from};
    for (size_t i = 0; i < children.size(); ++i)
        for (int32_t start : starts[i])
            addEnds(&starts[i + 1], endsOf(path->matcher, children[i], start));
    starts.back() = {to};
    auto leadsOn = [&](size_t child, int32_t start) {
        Ends ends = endsOf(path->matcher, children[child], start);
        return std::any_of(ends.begin(), ends.end(),
                           [&](int32_t end) { return contains(starts[child + 1], end); });
    };
    for (size_t i = children.size(); i-- > 0;)
        std::erase_if(starts[i], [&](int32_t start) { return !leadsOn(i, start); });
    int32_t at = from;
    for (size_t i = 0; i < children.size(); ++i) {
        Ends ends = endsOf(path->matcher, children[i], at);
        std::erase_if(ends, [&](int32_t end) { return !contains(starts[i + 1], end); });
        if (ends.empty()) return; // only after giving up
        walk(path, children[i], at, ends.back(), frame);
        at = ends.back();
    }
}

// Repeats the child, each time as far as it goes and still reaches the end.
void walkRepetition(Walk *path, int32_t child, bool atLeastOnce, int32_t from, int32_t to,
                    Frame *frame)
{
    int32_t at = from;
    while (at < to && !path->matcher->givenUp) {
        Ends ends = endsOf(path->matcher, child, at);
        auto leadsOn = [&](int32_t end) {
            return end > at && contains(repeatedEnds(path->matcher, child, {end}), to);
        };
        auto next = std::find_if(ends.rbegin(), ends.rend(), leadsOn);
        if (next == ends.rend()) return;
        walk(path, child, at, *next, frame);
        at = *next;
        atLeastOnce = false;
    }
    if (atLeastOnce) walk(path, child, from, to, frame); // a match without words
}

void walkNode(Walk *path, const Node &node, int32_t from, int32_t to, Frame *frame)
{
    Matcher *matcher = path->matcher;
    switch (node.kind) {
    case NodeKind::nothing:
    case NodeKind::never:
    case NodeKind::word:
        break;
    case NodeKind::tag:
        meetTag(path, matcher->tree->tags[static_cast<size_t>(node.index)], frame);
        break;
    case NodeKind::rule:
        walkRule(path, node.index, from, to, frame);
        break;
    case NodeKind::sequence:
        walkSequence(path, node, from, to, frame);
        break;
    case NodeKind::choice:
        for (int32_t child : node.children) {
            if (!contains(endsOf(matcher, child, from), to)) continue;
            walk(path, child, from, to, frame);
            break;
        }
        break;
    case NodeKind::optional:
        if (from < to) walk(path, node.children[0], from, to, frame);
        break;
    case NodeKind::star:
    case NodeKind::plus:
        walkRepetition(path, node.children[0], node.kind == NodeKind::plus, from, to, frame);
        break;
    }
}

void walk(Walk *path, int32_t index, int32_t from, int32_t to, Frame *frame)
{
    // A rule that can refer to itself without a word is refused by the reader; the bound keeps what
    // slipped through from running away.
    if (path->depth == kMaxDepth || ++path->matcher->steps > kMaxSteps)
        path->matcher->givenUp = true;
    if (path->matcher->givenUp) return;
    path->depth++;
    walkNode(path, nodeAt(*path->matcher, index), from, to, frame);
    path->depth--;
}

std::vector<int32_t> wordIndices(const RuleTree &tree, std::span<const std::string> words)
{
    std::unordered_map<std::string, int32_t> indices;
    for (size_t i = 0; i < tree.words.size(); ++i)
        indices.emplace(tree.words[i].text, static_cast<int32_t>(i));
    std::vector<int32_t> result;
    for (const std::string &word : words) {
        auto found = indices.find(word);
        result.push_back(found == indices.end() ? -1 : found->second);
    }
    return result;
}

} // namespace

MatchResult matchWords(const RuleTree &tree, std::span<const std::string> words, Meaning *meaning)
{
    if (words.size() > kMaxWords) return MatchResult::tooHard;
    Matcher matcher;
    matcher.tree = &tree;
    matcher.words = wordIndices(tree, words);
    auto count = static_cast<int32_t>(words.size());
    for (int32_t index : publicRules(tree)) {
        const Rule &rule = tree.rules[static_cast<size_t>(index)];
        if (!contains(endsOf(&matcher, rule.body, 0), count)) continue;
        Walk path{&matcher, words, {}, 0};
        walkRule(&path, index, 0, count, nullptr);
        if (matcher.givenUp) break;
        meaning->rule = rule.name;
        meaning->sem.reset(cJSON_CreateObject());
        for (const auto &object : path.objects)
            mergeJson(meaning->sem.get(), object->get());
        return MatchResult::matched;
    }
    return matcher.givenUp ? MatchResult::tooHard : MatchResult::unmatched;
}

} // namespace vantel::ostrel
