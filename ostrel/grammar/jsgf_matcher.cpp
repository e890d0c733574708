#include "ostrel/grammar/jsgf_matcher.h"

#include <algorithm>
#include <bitset>
#include <set>
#include <unordered_map>

namespace vantel::ostrel
{
namespace
{

constexpr int64_t kMaxSteps = 1'000'000; // each looks at no more than kMaxWords positions
constexpr int32_t kMaxDepth = 1000;      // nodes inside each other; some hundred kilobytes of stack
constexpr size_t kMaxWords = 400;

// A set of positions between words.
using Ends = std::bitset<kMaxWords + 1>;

struct Matcher {
    const RuleTree *tree;
    std::vector<int32_t> words; // indices into the tree's words; -1 for one it does not have
    // Where matches of a node that begin at a position can end, by node and position. An entry that
    // is being worked out is empty, which ends left recursion.
    std::unordered_map<int64_t, Ends> known;
    int64_t steps = 0;
    int32_t depth = 0;
    bool givenUp = false;
    // With `tells`: the furthest position at which a word was looked for, and the words that were.
    bool tells = false;
    int32_t furthest = 0;
    std::set<int32_t> expected;
};

const Node &nodeAt(const Matcher &matcher, int32_t index)
{
    return matcher.tree->nodes[static_cast<size_t>(index)];
}

Ends only(int32_t position)
{
    return Ends{}.set(static_cast<size_t>(position));
}

bool contains(const Ends &ends, int32_t end)
{
    return ends.test(static_cast<size_t>(end));
}

Ends endsOf(Matcher *matcher, int32_t index, int32_t from);

Ends endsOfWord(Matcher *matcher, int32_t word, int32_t from)
{
    if (matcher->tells && from > matcher->furthest) {
        matcher->furthest = from;
        matcher->expected.clear();
    }
    if (matcher->tells && from == matcher->furthest) matcher->expected.insert(word);
    const auto at = static_cast<size_t>(from);
    return at < matcher->words.size() && matcher->words[at] == word ? only(from + 1) : Ends{};
}

// Where the child can end when it begins at any of `starts`.
Ends endsFrom(Matcher *matcher, int32_t child, const Ends &starts)
{
    Ends ends;
    for (size_t start = starts._Find_first(); start < starts.size();
         start = starts._Find_next(start))
        ends |= endsOf(matcher, child, static_cast<int32_t>(start));
    return ends;
}

// Where `child` repeated from any of `starts` can end, the starts included.
Ends repeatedEnds(Matcher *matcher, int32_t child, const Ends &starts)
{
    Ends reached = starts;
    Ends open = starts;
    while (open.any() && !matcher->givenUp) {
        open = endsFrom(matcher, child, open) & ~reached;
        reached |= open;
    }
    return reached;
}

Ends childrenEnds(Matcher *matcher, const Node &node, int32_t from)
{
    Ends ends;
    switch (node.kind) {
    case NodeKind::nothing:
    case NodeKind::tag:
        return only(from);
    case NodeKind::never:
        return {};
    case NodeKind::word:
        return endsOfWord(matcher, node.index, from);
    case NodeKind::rule:
        return endsOf(matcher, matcher->tree->rules[static_cast<size_t>(node.index)].body, from);
    case NodeKind::sequence:
        ends = only(from);
        for (int32_t child : node.children)
            ends = endsFrom(matcher, child, ends);
        return ends;
    case NodeKind::choice:
        for (int32_t child : node.children)
            ends |= endsOf(matcher, child, from);
        return ends;
    case NodeKind::optional:
        return only(from) | endsOf(matcher, node.children[0], from);
    case NodeKind::star:
        return repeatedEnds(matcher, node.children[0], only(from));
    case NodeKind::plus:
        return repeatedEnds(matcher, node.children[0], endsOf(matcher, node.children[0], from));
    }
    return {};
}

Ends endsOf(Matcher *matcher, int32_t index, int32_t from)
{
    const int64_t key = static_cast<int64_t>(index) << 32 | from;
    if (matcher->givenUp) return {};
    if (++matcher->steps > kMaxSteps || matcher->depth == kMaxDepth) {
        matcher->givenUp = true;
        return {};
    }
    if (auto found = matcher->known.find(key); found != matcher->known.end()) return found->second;
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

// The longest of the child's matches from which the end can still be reached; -1: there is none,
// which happens only after giving up.
int32_t longest(const Ends &ends)
{
    for (auto end = static_cast<int32_t>(kMaxWords); end >= 0; --end)
        if (contains(ends, end)) return end;
    return -1;
}

void walkSequence(Walk *path, const Node &node, int32_t from, int32_t to, Frame *frame)
{
    const std::vector<int32_t> &children = node.children;
    // Where each child can begin: forwards, then only where that leads to the end.
    std::vector<Ends> starts(children.size() + 1);
    starts[0] = only(from);
    for (size_t i = 0; i < children.size(); ++i)
        starts[i + 1] = endsFrom(path->matcher, children[i], starts[i]);
    starts.back() = only(to);
    for (size_t i = children.size(); i-- > 0;) {
        for (int32_t start = from; start <= to; ++start)
            if (contains(starts[i], start) &&
                (endsOf(path->matcher, children[i], start) & starts[i + 1]).none())
                starts[i].reset(static_cast<size_t>(start));
    }
    int32_t at = from;
    for (size_t i = 0; i < children.size(); ++i) {
        int32_t end = longest(endsOf(path->matcher, children[i], at) & starts[i + 1]);
        if (end < 0) return;
        walk(path, children[i], at, end, frame);
        at = end;
    }
}

// Repeats the child, each time as far as it goes and still reaches the end.
void walkRepetition(Walk *path, int32_t child, bool atLeastOnce, int32_t from, int32_t to,
                    Frame *frame)
{
    Matcher *matcher = path->matcher;
    int32_t at = from;
    while (at < to && !matcher->givenUp) {
        Ends next;
        Ends ends = endsOf(matcher, child, at);
        for (int32_t end = at + 1; end <= to; ++end)
            if (contains(ends, end) && contains(repeatedEnds(matcher, child, only(end)), to))
                next = only(end);
        int32_t end = longest(next);
        if (end < 0) return;
        walk(path, child, at, end, frame);
        at = end;
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

// A rule may have matched further than any word was looked for: what came behind was too much.
void tellStuck(Matcher *matcher, Stuck *stuck)
{
    std::vector<Ends> ends;
    for (int32_t index : publicRules(*matcher->tree)) {
        ends.push_back(endsOf(matcher, matcher->tree->rules[static_cast<size_t>(index)].body, 0));
        for (int32_t end = matcher->furthest + 1; end <= static_cast<int32_t>(kMaxWords); ++end) {
            if (!contains(ends.back(), end)) continue;
            matcher->furthest = end;
            matcher->expected.clear();
        }
    }
    stuck->words = matcher->furthest;
    for (int32_t word : matcher->expected)
        stuck->expected.push_back(matcher->tree->words[static_cast<size_t>(word)].text);
    stuck->mayEnd = std::any_of(ends.begin(), ends.end(), [&](const Ends &each) {
        return contains(each, matcher->furthest);
    });
}

} // namespace

MatchResult matchWords(const RuleTree &tree, std::span<const std::string> words, Meaning *meaning,
                       Stuck *stuck)
{
    if (words.size() > kMaxWords) return MatchResult::tooHard;
    Matcher matcher;
    matcher.tree = &tree;
    matcher.words = wordIndices(tree, words);
    matcher.tells = stuck != nullptr;
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
    if (matcher.givenUp) return MatchResult::tooHard;
    if (stuck) tellStuck(&matcher, stuck);
    return MatchResult::unmatched;
}

} // namespace vantel::ostrel
