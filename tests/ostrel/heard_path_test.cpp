// From a grammar to the phrases that a streaming recogniser is told, and from the words that it
// hears back to a sentence of the grammar.
#include "ostrel/grammar/heard_path.h"
#include "ostrel/words/respelling.h"

#include <gtest/gtest.h>
#include <set>

using namespace vantel::ostrel;

namespace
{

constexpr const char *kOrders = R"(#JSGF V1.0;
grammar orders;
public <order> = <ask> a [<size>] [<roast>] <drink> [with <milk> [and <milk>]]
    {"drink":"$drink","size":"$size","roast":"$roast","milk":"$milk"};
<ask> = [now] could i please have | i [really] want you to give me;
<size> = small | medium | large;
<roast> = light roast | dark roast;
<drink> = latte | iced mocha | snowboy;
<milk> = [a bit of | some] (skim milk | soy milk | cream);
)";

// A grammar with its words as the recogniser hears them.
struct Spoken {
    explicit Spoken(const std::string &jsgf)
    {
        Diagnostics diagnostics;
        EXPECT_TRUE(readJsgf(jsgf, &tree, &diagnostics));
        EXPECT_TRUE(buildNetwork(tree, &network, &diagnostics));
        for (const Word &word : tree.words)
            spellings.push_back(word.text == "snowboy" ? splitWords("snow boy")
                                                       : splitWords(word.text));
        EXPECT_TRUE(makeSpoken(tree, network, spellings, &spoken));
    }
    std::string text(const std::optional<Path> &path) const
    {
        if (!path) return "-";
        std::vector<std::string> words;
        for (const PathWord &word : *path)
            words.push_back(tree.words[static_cast<size_t>(word.word)].text);
        return joinWords(words);
    }
    std::vector<int32_t> heard(const std::string &text) const
    {
        return tokensOf(spoken, splitWords(text));
    }
    std::string exact(const std::string &text) const
    {
        return this->text(exactPath(spoken, heard(text)));
    }
    std::string repaired(const std::string &text, double confidence = 0.5) const
    {
        const std::vector<int32_t> tokens = heard(text);
        const std::vector<double> confidences(tokens.size(), confidence);
        return this->text(repairedPath(spoken, tokens, confidences));
    }
    std::vector<std::string> covering() const
    {
        std::vector<Sentence> sentences;
        EXPECT_TRUE(coveringSentences(spoken.sentences, &sentences));
        std::vector<std::string> texts;
        for (const Sentence &sentence : sentences) {
            std::vector<std::string> words;
            for (int32_t word : sentence)
                words.push_back(joinWords(spellings[static_cast<size_t>(word)]));
            texts.push_back(joinWords(words));
        }
        return texts;
    }

    RuleTree tree;
    Network network;
    std::vector<std::vector<std::string>> spellings;
    SpokenGrammar spoken;
};

std::string grammar(const std::string &body)
{
    return "#JSGF V1.0;\ngrammar t;\npublic <a> = " + body + ";\n";
}

TEST(Phrases, FewSentencesAreAllTold)
{
    const std::vector<std::string> texts = Spoken{grammar("go (on | [far] back)")}.covering();
    EXPECT_EQ(std::set<std::string>(texts.begin(), texts.end()),
              (std::set<std::string>{"go on", "go back", "go far back"}));
}

TEST(Phrases, ManySentencesAreToldByTheirPairsOfWords)
{
    for (const std::string &jsgf :
         {std::string{kOrders}, grammar("(one | two | three) (plus (one | two | three))* [now]")}) {
        const Spoken spoken{jsgf};
        const std::vector<std::string> texts = spoken.covering();
        EXPECT_LT(texts.size(), 150U);
        std::set<std::pair<std::string, std::string>> told;
        for (const std::string &text : texts) {
            EXPECT_NE(spoken.exact(text), "-") << text;
            std::vector<std::string> words = splitWords("^ " + text + " $");
            for (size_t i = 1; i < words.size(); ++i)
                told.emplace(words[i - 1], words[i]);
        }
        // What follows each state of the automaton, whatever led to it.
        const auto &states = spoken.spoken.sentences.states;
        auto wordAt = [&](int32_t word, bool first) {
            const auto &spelling = spoken.spellings[static_cast<size_t>(word)];
            return first ? spelling.front() : spelling.back();
        };
        for (const SentenceStep &step : states[0].steps)
            EXPECT_TRUE(told.contains({"^", wordAt(step.word, true)}));
        for (const SentenceState &state : states) {
            for (const SentenceStep &step : state.steps) {
                const SentenceState &after = states[static_cast<size_t>(step.to)];
                const std::string word = wordAt(step.word, false);
                EXPECT_TRUE(!after.isEnd || told.contains({word, "$"})) << word;
                for (const SentenceStep &next : after.steps)
                    EXPECT_TRUE(told.contains({word, wordAt(next.word, true)})) << word;
            }
        }
    }
}

TEST(HeardPath, SentencesAreFoundAndRespelledWordsComeBack)
{
    const Spoken spoken{kOrders};
    EXPECT_EQ(spoken.exact("i want you to give me a large snow boy with cream"),
              "i want you to give me a large snowboy with cream");
    for (const char *other :
         {"", "could i please have a large", "could i please have a snow", "have a latte", "[unk]"})
        EXPECT_EQ(spoken.exact(other), "-") << other;
}

TEST(HeardPath, FillingWordsAreRepairedAndMeaningNever)
{
    const Spoken spoken{kOrders};
    const std::string order = "could i please have a small latte with soy milk";
    EXPECT_EQ(spoken.repaired("could please have a small latte with soy milk"), order);
    EXPECT_EQ(spoken.repaired("could i i please have a small latte with soy milk"), order);
    EXPECT_EQ(spoken.repaired("could me please have a small latte with soy milk"), order);
    struct {
        const char *heard;
        const char *why;
    } refused[] = {
        {"could i please have a small with soy milk", "a drink would be invented"},
        {"could i please have a small latte latte with soy milk", "a drink would be dropped"},
        {"could i please have a small latte with soy roast", "milk would replace a roast"},
        {"could please a small latte", "too short"},
        {"a small latte with soy milk", "too much is missing"},
    };
    for (const auto &[heard, why] : refused)
        EXPECT_EQ(spoken.repaired(heard), "-") << why;
    // Nothing tells fillers from meaning where there are no tags.
    EXPECT_EQ(Spoken{grammar("please turn the big light on right now")}.repaired(
                  "please turn the light on right now"),
              "-");
}

TEST(HeardPath, ProgressTellsWhatMayStillCome)
{
    const Spoken spoken{grammar("go (on | back [now] | snowboy)")};
    struct {
        const char *heard;
        Progress progress;
    } cases[] = {{"", Progress::open},          {"go", Progress::open},
                 {"go snow", Progress::open},   {"go snow boy", Progress::closed},
                 {"go on", Progress::closed},   {"go back", Progress::complete},
                 {"on", Progress::outside},     {"go on now", Progress::outside},
                 {"go boy", Progress::outside}, {"go back now", Progress::closed}};
    for (const auto &[heard, progress] : cases)
        EXPECT_EQ(progressOf(spoken.spoken, spoken.heard(heard)), progress) << heard;
}

TEST(Respelling, UnknownWordsAreMadeOfKnownOnes)
{
    const std::set<std::string> vocabulary{"wifi", "snow", "boy", "car", "pet",
                                           "carp", "mid",  "air", "ab"};
    auto respelled = [&](const std::string &word) {
        return joinWords(
            respell(word, [&](const std::string &known) { return vocabulary.contains(known); }));
    };
    EXPECT_EQ(respelled("snow"), "snow");
    EXPECT_EQ(respelled("wi-fi"), "wifi");
    EXPECT_EQ(respelled("mid-air"), "mid air");
    EXPECT_EQ(respelled("snowboy"), "snow boy");
    EXPECT_EQ(respelled("carpet"), "car pet");
    for (const char *lost : {"carab", "vantel", "-", "boysnows"})
        EXPECT_EQ(respelled(lost), "") << lost;
}

TEST(HeardPath, LongRowsOfRulesInATagAreFollowed)
{
    constexpr int kRules = 100'000;
    std::string jsgf = "#JSGF V1.0;\ngrammar t;\npublic <a> = go home;\n<x> = go <r0> {$r0};\n";
    for (int i = 0; i < kRules; ++i)
        jsgf += "<r" + std::to_string(i) + "> = <r" + std::to_string(i + 1) + ">;\n";
    EXPECT_EQ(Spoken{jsgf + "<r" + std::to_string(kRules) + "> = go;\n"}.exact("go home"),
              "go home");
}

} // namespace
