#include "ostrel/grammar/heard_path.h"

#include <algorithm>
#include <map>
#include <queue>
#include <string_view>

namespace vantel::ostrel
{
namespace
{

bool spells(std::span<const int32_t> heard, size_t at, const std::vector<int32_t> &spelling)
{
    return !spelling.empty() && at + spelling.size() <= heard.size() &&
           std::equal(spelling.begin(), spelling.end(), heard.begin() + static_cast<ptrdiff_t>(at));
}

// What the rules of a grammar say of its words.
struct MeaningSearch {
    const RuleTree *tree;
    std::vector<bool> tagged;  // by rule: a tag stands in it
    std::vector<bool> named;   // by rule: some tag holds its text, or that of a rule it is part of
    std::vector<bool> inside;  // by word: it stands in a rule that carries meaning
    std::vector<bool> outside; // by word: it stands in another
};

template <typename Visit> void visitNodes(const RuleTree &tree, int32_t node, const Visit &visit)
{
    const Node &here = tree.nodes[static_cast<size_t>(node)];
    visit(here);
    for (int32_t child : here.children)
        visitNodes(tree, child, visit);
}

// Names the rules and what they are made of. Rules may refer to each other in long rows.
void nameRules(MeaningSearch *search, std::vector<int32_t> open)
{
    while (!open.empty()) {
        const auto rule = static_cast<size_t>(open.back());
        open.pop_back();
        if (search->named[rule]) continue;
        search->named[rule] = true;
        visitNodes(*search->tree, search->tree->rules[rule].body, [&](const Node &node) {
            if (node.kind == NodeKind::rule) open.push_back(node.index);
        });
    }
}

// By word: whether it carries meaning, as only words do that stand nowhere but in rules with a tag
// or rules that a tag refers to.
std::vector<bool> meaningWords(const RuleTree &tree)
{
    MeaningSearch search{&tree, std::vector<bool>(tree.rules.size()),
                         std::vector<bool>(tree.rules.size()), std::vector<bool>(tree.words.size()),
                         std::vector<bool>(tree.words.size())};
    std::unordered_map<std::string_view, int32_t> rules;
    for (size_t i = 0; i < tree.rules.size(); ++i)
        rules.emplace(tree.rules[i].name, static_cast<int32_t>(i));
    std::vector<int32_t> named;
    for (const GrammarTag &tag : tree.tags)
        for (const std::string &name : tagReferences(tag))
            if (auto rule = rules.find(name); rule != rules.end()) named.push_back(rule->second);
    nameRules(&search, std::move(named));
    for (size_t i = 0; i < tree.rules.size(); ++i) {
        if (tree.rules[i].body < 0) continue;
        visitNodes(tree, tree.rules[i].body, [&](const Node &node) {
            if (node.kind == NodeKind::tag) search.tagged[i] = true;
        });
        visitNodes(tree, tree.rules[i].body, [&](const Node &node) {
            if (node.kind != NodeKind::word) return;
            auto &words = search.tagged[i] || search.named[i] ? search.inside : search.outside;
            words[static_cast<size_t>(node.index)] = true;
        });
    }
    for (size_t i = 0; i < search.inside.size(); ++i)
        if (search.outside[i]) search.inside[i] = false;
    return search.inside;
}

// Where a way through the tokens and the automaton stands.
struct Point {
    int32_t heard; // tokens that are behind it
    int32_t state;
    bool changed; // a word that carries meaning was changed on the way
    auto operator<=>(const Point &) const = default; // NOLINT(modernize-use-nullptr): a false alarm
};

struct Arrival {
    double cost;
    Point from;
    PathWord word; // word kNoWord: a token was passed over
    bool done = false;
};

struct Waiting {
    double cost;
    Point point;
    bool operator>(const Waiting &other) const { return cost > other.cost; }
};

struct Search {
    const SpokenGrammar *spoken;
    std::span<const int32_t> heard;
    std::span<const double> confidences;
    double limit = 0;
    std::map<Point, Arrival> arrivals;
    std::priority_queue<Waiting, std::vector<Waiting>, std::greater<>> open;
};

void reach(Search *search, Point point, double cost, Point from, PathWord word)
{
    if (cost > search->limit) return;
    auto [entry, isNew] = search->arrivals.try_emplace(point, Arrival{cost, from, word});
    if (!isNew && entry->second.cost <= cost) return;
    entry->second = {cost, from, word};
    search->open.push({cost, point});
}

// Everything that may come next: the word as heard, one that was not, another in its place, or
// nothing for what was heard.
void expand(Search *search, Point point, double cost)
{
    constexpr double kWordNotHeard = 1;
    constexpr double kCheapest = 0.3;
    const auto at = static_cast<size_t>(point.heard);
    const auto &carriesMeaning = search->spoken->carriesMeaning;
    auto matters = [&](int32_t token) {
        return token != kNoToken && carriesMeaning[static_cast<size_t>(token)];
    };
    const bool isLeft = at < search->heard.size();
    const double overruled = isLeft ? std::max(kCheapest, search->confidences[at]) : 0;
    if (isLeft)
        reach(search, {point.heard + 1, point.state, point.changed || matters(search->heard[at])},
              cost + overruled, point, {kNoWord, point.heard, 1});
    for (const SentenceStep &step :
         search->spoken->sentences.states[static_cast<size_t>(point.state)].steps) {
        const auto &spelling = search->spoken->spellings[static_cast<size_t>(step.word)];
        const auto length = static_cast<int32_t>(spelling.size());
        if (spells(search->heard, at, spelling))
            reach(search, {point.heard + length, step.to, point.changed}, cost, point,
                  {step.word, point.heard, length});
        const bool changed =
            point.changed || std::any_of(spelling.begin(), spelling.end(), matters);
        reach(search, {point.heard, step.to, changed}, cost + kWordNotHeard * length, point,
              {step.word, point.heard, 0});
        if (isLeft && length == 1)
            reach(search, {point.heard + 1, step.to, changed || matters(search->heard[at])},
                  cost + overruled, point, {step.word, point.heard, 1});
    }
}

Path wayTo(const Search &search, Point point)
{
    Path path;
    const Point start{0, 0, false};
    while (point != start) {
        const Arrival &arrival = search.arrivals.at(point);
        if (arrival.word.word != kNoWord) path.push_back(arrival.word);
        point = arrival.from;
    }
    std::reverse(path.begin(), path.end());
    return path;
}

// The states that the tokens lead to, by how many of them are behind; each with the way it was
// reached.
struct Reach {
    int32_t before; // state
    PathWord word;
};
using Reached = std::vector<std::map<int32_t, Reach>>;

Reached follow(const SpokenGrammar &spoken, std::span<const int32_t> heard)
{
    Reached reached(heard.size() + 1);
    reached[0][0] = {-1, {kNoWord, 0, 0}};
    for (size_t at = 0; at < heard.size(); ++at)
        for (const auto &[state, way] : reached[at])
            for (const SentenceStep &step :
                 spoken.sentences.states[static_cast<size_t>(state)].steps) {
                const auto &spelling = spoken.spellings[static_cast<size_t>(step.word)];
                if (!spells(heard, at, spelling)) continue;
                reached[at + spelling.size()].try_emplace(
                    step.to, Reach{state, PathWord{step.word, static_cast<int32_t>(at),
                                                   static_cast<int32_t>(spelling.size())}});
            }
    return reached;
}

} // namespace

bool makeSpoken(const RuleTree &tree, const Network &network,
                std::span<const std::vector<std::string>> spellings, SpokenGrammar *spoken)
{
    if (!buildSentences(network, &spoken->sentences)) return false;
    const std::vector<bool> meaning = meaningWords(tree);
    for (size_t word = 0; word < spellings.size(); ++word) {
        std::vector<int32_t> spelling;
        for (const std::string &text : spellings[word]) {
            auto [entry, isNew] =
                spoken->tokens.try_emplace(text, static_cast<int32_t>(spoken->tokens.size()));
            if (isNew) spoken->carriesMeaning.push_back(false);
            spelling.push_back(entry->second);
            if (!meaning[word]) continue;
            spoken->carriesMeaning[static_cast<size_t>(entry->second)] = true;
            spoken->hasMeaning = true;
        }
        spoken->spellings.push_back(std::move(spelling));
    }
    return true;
}

std::vector<int32_t> tokensOf(const SpokenGrammar &spoken, std::span<const std::string> texts)
{
    std::vector<int32_t> tokens;
    for (const std::string &text : texts) {
        auto found = spoken.tokens.find(text);
        tokens.push_back(found == spoken.tokens.end() ? kNoToken : found->second);
    }
    return tokens;
}

std::optional<Path> exactPath(const SpokenGrammar &spoken, std::span<const int32_t> heard)
{
    const Reached reached = follow(spoken, heard);
    for (const auto &[end, way] : reached.back()) {
        if (!spoken.sentences.states[static_cast<size_t>(end)].isEnd || heard.empty()) continue;
        Path path;
        auto at = static_cast<int32_t>(heard.size());
        for (int32_t state = end; at > 0;) {
            const Reach &here = reached[static_cast<size_t>(at)].at(state);
            path.push_back(here.word);
            at = here.word.firstToken;
            state = here.before;
        }
        std::reverse(path.begin(), path.end());
        return path;
    }
    return std::nullopt;
}

std::optional<Path> repairedPath(const SpokenGrammar &spoken, std::span<const int32_t> heard,
                                 std::span<const double> confidences)
{
    // Found on recorded orders; shorter utterances gained nothing and let other speech in.
    constexpr size_t kFewestWords = 6;
    constexpr double kGreatestCost = 2;
    constexpr double kGreatestShare = 0.34; // of the words heard
    constexpr double kMargin = 0.5;         // to the next meaning
    constexpr size_t kMostArrivals = 30'000;
    if (!spoken.hasMeaning || heard.size() < kFewestWords) return std::nullopt;
    const double most = std::min(kGreatestCost, kGreatestShare * static_cast<double>(heard.size()));
    Search search{&spoken, heard, confidences, most + kMargin, {}, {}};
    std::optional<Point> best;
    double bestCost = 0;
    reach(&search, {0, 0, false}, 0, {0, 0, false}, {kNoWord, 0, 0});
    while (!search.open.empty() && search.arrivals.size() < kMostArrivals) {
        const auto [cost, point] = search.open.top();
        search.open.pop();
        Arrival &arrival = search.arrivals.at(point);
        if (arrival.done || arrival.cost < cost) continue;
        arrival.done = true;
        if (best && cost >= bestCost + kMargin) return wayTo(search, *best);
        const bool isEnd = static_cast<size_t>(point.heard) == heard.size() &&
                           spoken.sentences.states[static_cast<size_t>(point.state)].isEnd;
        if (isEnd && (point.changed || cost > most)) return std::nullopt;
        if (isEnd && !best) {
            best = point;
            bestCost = cost;
        }
        expand(&search, point, cost);
    }
    if (!best || !search.open.empty()) return std::nullopt;
    return wayTo(search, *best);
}

Progress progressOf(const SpokenGrammar &spoken, std::span<const int32_t> heard)
{
    // A token may be the first of a word that is not whole yet.
    const Reached reached = follow(spoken, heard);
    bool isComplete = false;
    bool goesOn = false;
    for (const auto &[state, way] : reached.back()) {
        const SentenceState &here = spoken.sentences.states[static_cast<size_t>(state)];
        isComplete |= here.isEnd && !heard.empty();
        goesOn |= !here.steps.empty();
    }
    for (size_t at = 0; at < heard.size(); ++at)
        for (const auto &[state, way] : reached[at])
            for (const SentenceStep &step :
                 spoken.sentences.states[static_cast<size_t>(state)].steps) {
                const auto &spelling = spoken.spellings[static_cast<size_t>(step.word)];
                const size_t left = heard.size() - at;
                goesOn |=
                    spelling.size() > left && std::equal(heard.begin() + static_cast<ptrdiff_t>(at),
                                                         heard.end(), spelling.begin());
            }
    if (isComplete) return goesOn ? Progress::complete : Progress::closed;
    return goesOn ? Progress::open : Progress::outside;
}

} // namespace vantel::ostrel
