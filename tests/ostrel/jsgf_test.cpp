// Grammars as texts: their faults, and what words mean by their tags.
#include "ostrel/grammar/grammar_network.h"
#include "ostrel/grammar/jsgf_matcher.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace vantel;
using namespace vantel::ostrel;

namespace
{

// The faults as "line:column: message", one a line; "" when there is none.
std::string faults(const std::string &text, Network *network = nullptr)
{
    RuleTree tree;
    Network unused;
    Diagnostics diagnostics;
    bool good = readJsgf(text, &tree, &diagnostics) &&
                buildNetwork(tree, network ? network : &unused, &diagnostics);
    EXPECT_EQ(good, diagnostics.empty());
    std::ostringstream all;
    for (const auto &[place, message] : diagnostics)
        all << (all.tellp() > 0 ? "\n" : "") << place.line << ":" << place.column << ": "
            << message;
    return all.str();
}

std::string repeated(const std::string &text, int count)
{
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

std::string rules(const std::string &text)
{
    return "#JSGF V1.0;\ngrammar t;\n" + text;
}

TEST(Jsgf, FaultsAreNamedWithTheirPlaceInTheOrderOfTheText)
{
    const std::pair<std::string, std::string> cases[] = {
        {"grammar t;", "1:1: expected the first line to be #JSGF V1.0;, not grammar"},
        {"", "1:1: expected the first line to be #JSGF V1.0;, not the end of the text\n"
             "1:1: expected the statement: grammar name;, not the end of the text"},
        {"#JSGF V1.0\ngrammar t;", "1:1: the first line ends with a semicolon"},
        {"#JSGF V1.0;\npublic <a> = x;", "2:1: expected the statement: grammar name;, not public"},
        {rules("public <a> = x\npublic <b> = y;"),
         "4:12: expected a word, a <rule> or a group, not ="},
        {rules("public <a> = (x | y;"), "3:20: expected | or ), not ;"},
        {rules("public <a> = x | ;"), "3:18: expected a word, a <rule> or a group, not ;"},
        {rules("public <a> = [x y);"), "3:18: expected | or ], not )"},
        {rules("public <a> = (x;\n<b> = | y;\n<c> = z;\n<d> x;\n"),
         "3:16: expected | or ), not ;\n4:7: expected a word, a <rule> or a group, not |\n6:5: "
         "expected =, not x"},
        {rules("public <a = x;"), "3:8: this rule name has no closing >"},
        {rules("public <a> = \"x y;"), "3:14: this text has no closing quote"},
        {rules("public <a> = x {\"k\":\"}\";"), "3:16: this tag has no closing brace"},
        {rules("public <a> = x {\"k\":};"), "3:16: this tag is not valid JSON, near: }"},
        {rules("public <a> = x {\"n\":\"$b\"};"), "3:16: $b in this tag names no rule"},
        {rules("public <a> = /-1/ x | y;"), "3:14: a weight is a positive number"},
        {rules("public <a> = x; /* no end"),
         "3:16: a comment that begins after this place never ends"},
        {rules("import <b.c>;\npublic <a> = x;"),
         "3:1: rules of other grammars cannot be imported"},
        {rules("public <a> = x <b> y;"), "3:16: <b> is not defined"},
        {rules("public <a> = x;\n<a> = y;"), "4:1: <a> is defined twice"},
        {rules("<NULL> = x;"), "3:1: <NULL> is a rule of its own kind, not to be defined"},
        {rules("<a> = x;"), "1:1: the grammar is empty: it has no public rule"},
        {rules("public <a> = [x] <a> | y;"), "3:18: <a> refers to itself before any word"},
        {rules("public <a> = <b> x;\n<b> = <c>;\n<c> = z | {tag} <a>;"),
         "3:14: <a> refers to itself before any word by way of <b>"},
        {rules("public <a> = x <a> y | z;"),
         "3:16: <a> refers to itself, but not as its last part"},
        {rules("public <a> = <NULL> | <VOID> x;"),
         "3:8: the grammar is empty: its public rules match no words"},
        // Columns are characters, whatever their length in bytes.
        {rules("public <a> = 打开 <b>;"), "3:17: <b> is not defined"},
    };
    for (const auto &[text, fault] : cases)
        EXPECT_EQ(faults(text), fault) << text;
}

TEST(Jsgf, WhatTheFormatAllowsIsRead)
{
    const char *good[] = {
        "public <a> = x;",
        "public <a> = /2/ x | /0.5/ y z;",
        "public <t.a> = \"New York\" | <t.b>+ ; <b> = [x] (y | z)* w {say \\} it} ;",
        "public <a> = x [<a>];",                // a loop
        "public <a> = x <b>; <b> = y <a> | z;", // a loop of two
        "public <a> = <VOID> | x <NULL>; // the end",
    };
    for (const char *text : good)
        EXPECT_EQ(faults(rules(text)), "") << text;
    EXPECT_EQ(faults("\xEF\xBB\xBF#JSGF V1.0 UTF-8 zh;\r\ngrammar t;\r\npublic <a> = 打开;"), "");
}

// Hostile depth and size end in a fault, not in a crash or without end.
TEST(Jsgf, SizeAndDepthAreBounded)
{
    auto ends = [](const std::string &text, const char *how) {
        EXPECT_NE(faults(rules(text)).find(how), std::string::npos) << how;
    };
    ends("public <a> = " + std::string(5000, '(') + "x", "nested too deep");
    std::string chain = "public <r0> = x;";
    for (int i = 1; i < 3000; ++i)
        chain += "<r" + std::to_string(i) + "> = <r" + std::to_string(i - 1) + ">;";
    EXPECT_EQ(faults(rules(chain)), "");
    ends(chain + "public <top> = <r2999>;", "nested too deep");
    std::string doubling = "public <r40> = <r39> <r39>; <r0> = x | y;";
    for (int i = 1; i < 40; ++i) {
        std::string below = "<r" + std::to_string(i - 1) + ">";
        doubling += "<r" + std::to_string(i) + "> = " + below + " " + below + ";";
    }
    ends(doubling, "too large");
    // Parts that never match make no arcs, and the same words are no way to end soon either.
    ends("<v> = " + repeated("<VOID> | ", 3000) + "<VOID>; public <a> = x" +
             repeated(" <v>", 3000) + ";",
         "too large");
    ends("public <a> = " + std::string(241, 'x') + ";", "3:14: a word longer than 240 bytes");
    std::string words = "public <a> = w";
    for (int i = 0; i < 60'000; ++i)
        words += " |\nw" + std::to_string(i);
    ends(words + ";", "60003:1: the grammar has too many words");
    std::string row = "public <a> = stop\n";
    for (int i = 0; i < 3000; ++i)
        row += "[w" + std::to_string(i) + "] ";
    ends(row + ";", "4:1: too many parts in a row can be left out");
}

TEST(GrammarNetwork, CommonBeginningsAndEndingsAreJoined)
{
    std::string list = "public <a> = ";
    for (int i = 0; i < 500; ++i)
        list += (i ? " | turn the w" : "turn the w") + std::to_string(i) + " on";
    Network network;
    EXPECT_EQ(faults(rules(list + ";"), &network), "");
    EXPECT_LT(network.states, 10);
    EXPECT_LT(network.arcs.size(), 510U);
}

TEST(GrammarNetwork, RowsOfTheSameOptionalWordTakeOneStateEach)
{
    constexpr int32_t kWords = 700;
    for (const char *each : {"[go]", "[go | go]", "[[go]]", "[go {t}]"}) {
        Network network;
        EXPECT_EQ(faults(rules("public <a> = " + repeated(each, kWords) + " stop;"), &network), "");
        EXPECT_EQ(network.states, kWords + 3) << each;
        EXPECT_EQ(network.arcs.size(), 2 * kWords + 2U) << each;
    }
}

// The tree of rules without a fault.
RuleTree tree(const std::string &text)
{
    RuleTree read;
    Diagnostics none;
    EXPECT_TRUE(readJsgf(rules(text), &read, &none)) << none.front().message;
    return read;
}

// The rule that the words match and their meaning, printed; "-" when they are not of the grammar,
// "too hard" when that is not to be found out.
std::string meaning(const RuleTree &grammar, const std::string &text)
{
    std::istringstream stream{text};
    std::vector<std::string> words{std::istream_iterator<std::string>{stream}, {}};
    Meaning found;
    MatchResult result = matchWords(grammar, words, &found);
    if (result == MatchResult::matched) return found.rule + jsonPrint(found.sem.get()).get();
    return result == MatchResult::unmatched ? "-" : "too hard";
}

TEST(Matcher, ObjectTagsMergeInTheOrderOfTheMatch)
{
    RuleTree grammar =
        tree(R"(public <a> = {"dm":{"n":1}} x [y {"dm":{"n":2,"y":true}}] z {"dm":{"z":[1]}};)");
    EXPECT_EQ(meaning(grammar, "x z"), R"(a{"dm":{"n":1,"z":[1]}})");
    EXPECT_EQ(meaning(grammar, "x y z"), R"(a{"dm":{"n":2,"y":true,"z":[1]}})");
    EXPECT_EQ(meaning(grammar, "x y"), "-");
    EXPECT_EQ(meaning(grammar, "x unheard z"), "-");
}

TEST(Matcher, CapturesTakeTheSubRulesValueOrItsWordsAlsoFromBehind)
{
    RuleTree grammar = tree(R"(public <set> = set <room> to <number> [degrees]
                                 {"room":"$room","degrees":"$number","text":"$number in $room, $$5"};
                             public <count> = {"n":"$number"} count <number>;
                             public <paint> = paint <colour> {"what":"$colour"};
                             <number> = twenty {20} | twenty one {21} | half {"0.5"};
                             <room> = (living | dining) room | kitchen {k};
                             <colour> = red {"rgb":"f00"};)");
    EXPECT_EQ(meaning(grammar, "set living room to twenty one degrees"),
              R"(set{"room":"living room","degrees":21,"text":"21 in living room, $5"})");
    EXPECT_EQ(meaning(grammar, "set kitchen to half"),
              R"(set{"room":"k","degrees":"0.5","text":"0.5 in k, $5"})");
    EXPECT_EQ(meaning(grammar, "count twenty"), R"(count{"n":20})");
    EXPECT_EQ(meaning(grammar, "paint red"), R"(paint{"rgb":"f00","what":{"rgb":"f00"}})");
}

TEST(Matcher, CaptureIsTheNearestOneAndMissingOnesAreLeftOut)
{
    RuleTree grammar = tree(R"(public <a> = from <n> {"from":"$n"} to <n> {"to":"$n"}
                                 [via <m> {"via":"$m"}] {"list":["$n","$m"]};
                             <n> = one {1} | two {2}; <m> = <n>;)");
    EXPECT_EQ(meaning(grammar, "from one to two"), R"(a{"from":1,"to":2,"list":[2]})");
    // What <m> captured inside itself does not hide the rule's own captures.
    EXPECT_EQ(meaning(grammar, "from one to two via one"),
              R"(a{"from":1,"to":2,"via":"one","list":[2,"one"]})");
}

TEST(Matcher, FirstPublicRuleAndFirstAlternativeWin)
{
    RuleTree grammar = tree(R"(public <b> = <one>; public <a> = x {"r":"a"};
                             <one> = x {"r":"first"} | x {"r":"second"};)");
    EXPECT_EQ(meaning(grammar, "x"), R"(b{"r":"first"})");
}

TEST(Matcher, RepetitionAndRecursionMatchAsFarAsTheRestAllows)
{
    RuleTree grammar =
        tree(R"(public <a> = x* x {"last":true} | <list>; <list> = y {"y":1} [<list>];)");
    EXPECT_EQ(meaning(grammar, "x x x"), R"(a{"last":true})");
    EXPECT_EQ(meaning(grammar, "y y y y"), R"(a{"y":1})");
    EXPECT_EQ(meaning(grammar, "y x"), "-");
}

TEST(Matcher, AmbiguityDoesNotExplode)
{
    RuleTree grammar = tree("public <a> = (((x*)*)* x*)* (x | x x | [x] x)* (x* x*)* y;");
    EXPECT_EQ(meaning(grammar, repeated("x ", 60)), "-");
    EXPECT_EQ(meaning(grammar, repeated("x ", 60) + "y"), "a{}");
}

TEST(Matcher, WorkIsBounded)
{
    std::string many = "public <a> = x* w";
    for (int i = 0; i < 3000; ++i)
        many += " | x* w" + std::to_string(i);
    EXPECT_EQ(meaning(tree(many + ";"), repeated("x ", 390)), "too hard");
    EXPECT_EQ(meaning(tree("public <a> = x*;"), repeated("x ", 401)), "too hard");
    // Deeper than the stack is allowed to grow.
    EXPECT_EQ(meaning(tree("public <a> = x [<a>];"), repeated("x ", 390)), "too hard");
}

} // namespace
