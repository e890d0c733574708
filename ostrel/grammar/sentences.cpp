#include "ostrel/grammar/sentences.h"

#include <algorithm>
#include <set>
#include <unordered_set>

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxSteps = 1'000'000;
constexpr size_t kMaxPairs = 1'000'000;
constexpr size_t kAllSentences = 500;

using ArcLists = std::vector<std::vector<const Arc *>>;

// The states that are reached from `from` without a word, itself included. `seenFrom` has for each
// state where it was last reached from.
std::vector<int32_t> emptyReach(const ArcLists &arcs, int32_t from, std::vector<int32_t> *seenFrom)
{
    std::vector<int32_t> reached{from};
    (*seenFrom)[static_cast<size_t>(from)] = from;
    for (size_t i = 0; i < reached.size(); ++i)
        for (const Arc *arc : arcs[static_cast<size_t>(reached[i])]) {
            int32_t &seen = (*seenFrom)[static_cast<size_t>(arc->to)];
            if (arc->word != kNoWord || seen == from) continue;
            seen = from;
            reached.push_back(arc->to);
        }
    return reached;
}

// Lists every sentence; gives up, and lists none, when these are too many or too long.
struct Listing {
    const Sentences *all;
    std::set<Sentence> found;
    Sentence current;
    size_t visits = 0;
    bool givenUp = false;
};

void list(Listing *listing, int32_t state)
{
    constexpr size_t kMaxVisits = 100'000;
    constexpr size_t kMaxWords = 60;
    const SentenceState &here = listing->all->states[static_cast<size_t>(state)];
    if (here.isEnd && !listing->current.empty()) listing->found.insert(listing->current);
    if (listing->found.size() > kAllSentences || listing->current.size() > kMaxWords ||
        ++listing->visits > kMaxVisits)
        listing->givenUp = true;
    for (const SentenceStep &step : here.steps) {
        if (listing->givenUp) return;
        listing->current.push_back(step.word);
        list(listing, step.to);
        listing->current.pop_back();
    }
}

// A step of the automaton on the shortest way to it from the start.
struct Waypoint {
    SentenceStep step;
    int32_t before; // the waypoint on that way, -1 for none
};

struct Covering {
    const Sentences *all;
    std::vector<Waypoint> waypoints;  // every step that can be reached, nearest first
    std::vector<int32_t> wordsToEnd;  // from each state
    std::unordered_set<int64_t> done; // the pairs that have a sentence
    std::vector<Sentence> *sentences;
};

constexpr int32_t kOutside = -1; // beside the first and the last word

const SentenceState &stateAfter(const Covering &covering, const SentenceStep &step)
{
    return covering.all->states[static_cast<size_t>(step.to)];
}

bool isNew(const Covering &covering, int32_t first, int32_t second)
{
    return !covering.done.contains(static_cast<int64_t>(first) << 32 |
                                   static_cast<uint32_t>(second));
}

void markDone(Covering *covering, int32_t first, int32_t second)
{
    covering->done.insert(static_cast<int64_t>(first) << 32 | static_cast<uint32_t>(second));
}

void findWaypoints(Covering *covering)
{
    std::vector<bool> expanded(covering->all->states.size(), false);
    auto expand = [&](int32_t state, int32_t before) {
        if (expanded[static_cast<size_t>(state)]) return;
        expanded[static_cast<size_t>(state)] = true;
        for (const SentenceStep &step : covering->all->states[static_cast<size_t>(state)].steps)
            covering->waypoints.push_back({step, before});
    };
    expand(0, -1);
    for (size_t i = 0; i < covering->waypoints.size(); ++i)
        expand(covering->waypoints[i].step.to, static_cast<int32_t>(i));
}

void measureWordsToEnd(Covering *covering)
{
    const auto &states = covering->all->states;
    std::vector<std::vector<int32_t>> before(states.size());
    std::vector<int32_t> open;
    covering->wordsToEnd.assign(states.size(), -1);
    for (size_t i = 0; i < states.size(); ++i) {
        for (const SentenceStep &step : states[i].steps)
            before[static_cast<size_t>(step.to)].push_back(static_cast<int32_t>(i));
        if (!states[i].isEnd) continue;
        covering->wordsToEnd[i] = 0;
        open.push_back(static_cast<int32_t>(i));
    }
    for (size_t i = 0; i < open.size(); ++i)
        for (int32_t state : before[static_cast<size_t>(open[i])]) {
            if (covering->wordsToEnd[static_cast<size_t>(state)] >= 0) continue;
            covering->wordsToEnd[static_cast<size_t>(state)] =
                covering->wordsToEnd[static_cast<size_t>(open[i])] + 1;
            open.push_back(state);
        }
}

Sentence wayTo(const Covering &covering, int32_t at)
{
    Sentence words;
    for (; at >= 0; at = covering.waypoints[static_cast<size_t>(at)].before)
        words.push_back(covering.waypoints[static_cast<size_t>(at)].step.word);
    std::reverse(words.begin(), words.end());
    return words;
}

// The next step from `state`: one that makes a new pair, else the shortest way out.
const SentenceStep *nextStep(const Covering &covering, int32_t state, int32_t lastWord)
{
    const SentenceStep *nearest = nullptr;
    auto distance = [&](const SentenceStep &step) {
        return covering.wordsToEnd[static_cast<size_t>(step.to)];
    };
    for (const SentenceStep &step : covering.all->states[static_cast<size_t>(state)].steps) {
        if (distance(step) < 0) continue;
        if (isNew(covering, lastWord, step.word)) return &step;
        if (!nearest || distance(step) < distance(*nearest)) nearest = &step;
    }
    return nearest;
}

// Adds the sentence that begins with `words` and goes on with new pairs as long as there are any.
void addSentence(Covering *covering, Sentence words, int32_t state)
{
    for (;;) {
        const int32_t last = words.empty() ? kOutside : words.back();
        const bool mayEnd =
            !words.empty() && covering->all->states[static_cast<size_t>(state)].isEnd;
        if (mayEnd && isNew(*covering, last, kOutside)) break;
        const SentenceStep *step = nextStep(*covering, state, last);
        if (!step || (mayEnd && !isNew(*covering, last, step->word))) break;
        words.push_back(step->word);
        state = step->to;
        markDone(covering, last, step->word);
    }
    markDone(covering, words.back(), kOutside);
    covering->sentences->push_back(std::move(words));
}

} // namespace

bool buildSentences(const Network &network, Sentences *sentences)
{
    ArcLists arcs(static_cast<size_t>(network.states));
    for (const Arc &arc : network.arcs)
        arcs[static_cast<size_t>(arc.from)].push_back(&arc);
    // Only states that a word leads to, and the start, are kept.
    std::vector<int32_t> numbers(arcs.size(), -1);
    std::vector<int32_t> seenFrom(arcs.size(), -1);
    std::vector<int32_t> kept{network.start};
    numbers[static_cast<size_t>(network.start)] = 0;
    size_t steps = 0;
    sentences->states.clear();
    for (size_t i = 0; i < kept.size(); ++i) {
        SentenceState state;
        for (int32_t reached : emptyReach(arcs, kept[i], &seenFrom)) {
            state.isEnd |= reached == network.final;
            for (const Arc *arc : arcs[static_cast<size_t>(reached)]) {
                if (arc->word == kNoWord) continue;
                int32_t &number = numbers[static_cast<size_t>(arc->to)];
                if (number < 0) {
                    number = static_cast<int32_t>(kept.size());
                    kept.push_back(arc->to);
                }
                state.steps.push_back({arc->word, number});
            }
        }
        steps += state.steps.size();
        if (steps > kMaxSteps) return false;
        sentences->states.push_back(std::move(state));
    }
    return true;
}

bool coveringSentences(const Sentences &all, std::vector<Sentence> *sentences)
{
    sentences->clear();
    Listing listing{&all, {}, {}};
    list(&listing, 0);
    if (!listing.givenUp) {
        sentences->assign(listing.found.begin(), listing.found.end());
        return true;
    }
    Covering covering{&all, {}, {}, {}, sentences};
    findWaypoints(&covering);
    measureWordsToEnd(&covering);
    size_t pairs = 0;
    for (const Waypoint &waypoint : covering.waypoints)
        pairs += stateAfter(covering, waypoint.step).steps.size();
    if (pairs > kMaxPairs) return false;
    for (const SentenceStep &first : all.states.front().steps)
        if (isNew(covering, kOutside, first.word)) addSentence(&covering, {}, 0);
    for (size_t i = 0; i < covering.waypoints.size(); ++i) {
        const SentenceStep &step = covering.waypoints[i].step;
        const SentenceState &after = stateAfter(covering, step);
        auto leadsOn = [&](const SentenceStep &next) {
            return covering.wordsToEnd[static_cast<size_t>(next.to)] >= 0 &&
                   isNew(covering, step.word, next.word);
        };
        while (std::any_of(after.steps.begin(), after.steps.end(), leadsOn) ||
               (after.isEnd && isNew(covering, step.word, kOutside)))
            addSentence(&covering, wayTo(covering, static_cast<int32_t>(i)), step.to);
    }
    return true;
}

} // namespace vantel::ostrel
