// What words mean by a grammar's tags.
#include "ostrel/jsgf_matcher.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace vantel;
using namespace vantel::ostrel;

namespace
{

std::string manyX(int count)
{
    std::string words;
    while (count-- > 0)
        words += "x ";
    return words;
}

// A grammar's rules, read.
RuleTree tree(const std::string &rules)
{
    RuleTree read;
    Diagnostics diagnostics;
    EXPECT_TRUE(readJsgf("#JSGF V1.0;\ngrammar t;\n" + rules, &read, &diagnostics))
        << diagnostics.front().message;
    return read;
}

// The rule that the words match and their meaning, printed; "-" when they are not of the grammar,
// "too hard" when that is not to be found out.
std::string meaning(const RuleTree &rules, const std::string &text)
{
    std::istringstream stream{text};
    std::vector<std::string> words{std::istream_iterator<std::string>{stream}, {}};
    Meaning found;
    MatchResult result = matchWords(rules, words, &found);
    if (result == MatchResult::matched) return found.rule + jsonPrint(found.sem.get()).get();
    return result == MatchResult::unmatched ? "-" : "too hard";
}

TEST(Matcher, ObjectTagsMergeInTheOrderOfTheMatch)
{
    RuleTree rules =
        tree(R"(public <a> = {"dm":{"n":1}} x [y {"dm":{"n":2,"y":true}}] z {"dm":{"z":[1]}};)");
    EXPECT_EQ(meaning(rules, "x z"), R"(a{"dm":{"n":1,"z":[1]}})");
    EXPECT_EQ(meaning(rules, "x y z"), R"(a{"dm":{"n":2,"y":true,"z":[1]}})");
    EXPECT_EQ(meaning(rules, "x y"), "-");
    EXPECT_EQ(meaning(rules, "x unheard z"), "-");
}

TEST(Matcher, CapturesTakeTheSubRulesValueOrItsWordsAlsoFromBehind)
{
    RuleTree rules = tree(R"(public <set> = set <room> to <number> [degrees]
                                 {"room":"$room","degrees":"$number","text":"$number in $room, $$5"};
                             public <count> = {"n":"$number"} count <number>;
                             public <paint> = paint <colour> {"what":"$colour"};
                             <number> = twenty {20} | twenty one {21} | half {"0.5"};
                             <room> = (living | dining) room | kitchen {k};
                             <colour> = red {"rgb":"f00"};)");
    EXPECT_EQ(meaning(rules, "set living room to twenty one degrees"),
              R"(set{"room":"living room","degrees":21,"text":"21 in living room, $5"})");
    EXPECT_EQ(meaning(rules, "set kitchen to half"),
              R"(set{"room":"k","degrees":"0.5","text":"0.5 in k, $5"})");
    EXPECT_EQ(meaning(rules, "count twenty"), R"(count{"n":20})");
    EXPECT_EQ(meaning(rules, "paint red"), R"(paint{"rgb":"f00","what":{"rgb":"f00"}})");
}

TEST(Matcher, CaptureIsTheNearestOneAndMissingOnesAreLeftOut)
{
    RuleTree rules = tree(R"(public <a> = from <n> {"from":"$n"} to <n> {"to":"$n"}
                                 [via <m> {"via":"$m"}] {"list":["$n","$m"]};
                             <n> = one {1} | two {2}; <m> = <n>;)");
    EXPECT_EQ(meaning(rules, "from one to two"), R"(a{"from":1,"to":2,"list":[2]})");
    // What <m> captured inside itself does not hide the rule's own captures.
    EXPECT_EQ(meaning(rules, "from one to two via one"),
              R"(a{"from":1,"to":2,"via":"one","list":[2,"one"]})");
}

TEST(Matcher, FirstPublicRuleAndFirstAlternativeWin)
{
    RuleTree rules = tree(R"(public <b> = <one>; public <a> = x {"r":"a"};
                             <one> = x {"r":"first"} | x {"r":"second"};)");
    EXPECT_EQ(meaning(rules, "x"), R"(b{"r":"first"})");
}

TEST(Matcher, RepetitionAndRecursionMatchAsFarAsTheRestAllows)
{
    RuleTree rules =
        tree(R"(public <a> = x* x {"last":true} | <list>; <list> = y {"y":1} [<list>];)");
    EXPECT_EQ(meaning(rules, "x x x"), R"(a{"last":true})");
    EXPECT_EQ(meaning(rules, "y y y y"), R"(a{"y":1})");
    EXPECT_EQ(meaning(rules, "y x"), "-");
}

TEST(Matcher, AmbiguityDoesNotExplode)
{
    RuleTree rules = tree("public <a> = (((x*)*)* x*)* (x | x x | [x] x)* (x* x*)* y;");
    EXPECT_EQ(meaning(rules, manyX(60)), "-");
    EXPECT_EQ(meaning(rules, manyX(60) + "y"), "a{}");
}

TEST(Matcher, WorkIsBounded)
{
    std::string many = "public <a> = x* w";
    for (int i = 0; i < 3000; ++i)
        many += " | x* w" + std::to_string(i);
    EXPECT_EQ(meaning(tree(many + ";"), manyX(390)), "too hard");
    // Deeper than the stack is allowed to grow.
    EXPECT_EQ(meaning(tree("public <a> = x [<a>];"), manyX(390)), "too hard");
}

} // namespace
