// Any text as a grammar: the reader, the network and the matcher must come to an end, within their
// bounds, and a fault must have a place.
#include "ostrel/grammar/grammar_network.h"
#include "ostrel/grammar/jsgf_matcher.h"

#include "tests/fuzz/fuzz.h"

using namespace vantel::ostrel;
using fuzz::require;

namespace
{

// The words of a way through the network; an arc's probability is no matter.
std::vector<std::string> someWords(const RuleTree &tree, const Network &network)
{
    constexpr size_t kMaxSteps = 50;
    std::vector<std::string> words;
    int32_t state = network.start;
    for (size_t step = 0; step < kMaxSteps && state != network.final; ++step) {
        const Arc *next = nullptr;
        for (const Arc &arc : network.arcs)
            if (arc.from == state && (!next || arc.word == kNoWord)) next = &arc;
        if (!next) break;
        if (next->word != kNoWord)
            words.push_back(tree.words[static_cast<size_t>(next->word)].text);
        state = next->to;
    }
    if (state != network.final) words.clear();
    return words;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string text{reinterpret_cast<const char *>(data), size};
    // Most inputs would end at the first line; half of the time it is there already.
    if (size > 0 && data[0] % 2 == 0) text = "#JSGF V1.0;\ngrammar f;\npublic <f> = " + text;
    RuleTree tree;
    Network network;
    Diagnostics diagnostics;
    bool good = readJsgf(text, &tree, &diagnostics) && buildNetwork(tree, &network, &diagnostics);
    require(good == diagnostics.empty());
    for (const Diagnostic &diagnostic : diagnostics)
        require(diagnostic.place.line >= 1 && diagnostic.place.column >= 1 &&
                !diagnostic.message.empty());
    if (!good) return 0;
    // What the network accepts the matcher accepts, unless it is too much for it.
    std::vector<std::string> words = someWords(tree, network);
    Meaning meaning;
    MatchResult result = matchWords(tree, words, &meaning);
    require(words.empty() || result != MatchResult::unmatched);
    return 0;
}
