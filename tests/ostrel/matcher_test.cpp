#include "ostrel/jsgf_matcher.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace vantel;
using namespace vantel::ostrel;

namespace
{

class MatcherTest : public testing::Test
{
protected:
    void grammar(const std::string &text)
    {
        Diagnostics diagnostics;
        ASSERT_TRUE(readJsgf("#JSGF V1.0;\ngrammar t;\n" + text, &tree_, &diagnostics))
            << diagnostics.front().message;
    }

    // The meaning of the words, printed; "-" when they are not of the grammar.
    std::string sem(const std::string &text)
    {
        std::istringstream stream{text};
        std::vector<std::string> words{std::istream_iterator<std::string>{stream}, {}};
        Meaning meaning;
        result = matchWords(tree_, words, &meaning);
        if (result != MatchResult::matched) return "-";
        rule = meaning.rule;
        return jsonPrint(meaning.sem.get()).get();
    }

    MatchResult result = MatchResult::unmatched;
    std::string rule;

private:
    RuleTree tree_;
};

TEST_F(MatcherTest, ObjectTagsMergeInTheOrderOfTheMatch)
{
    grammar(R"(public <a> = {"dm":{"n":1}} x [y {"dm":{"n":2,"y":true}}] z {"dm":{"z":[1]}};)");
    EXPECT_EQ(sem("x z"), R"({"dm":{"n":1,"z":[1]}})");
    EXPECT_EQ(sem("x y z"), R"({"dm":{"n":2,"y":true,"z":[1]}})");
    EXPECT_EQ(sem("x y"), "-");
    EXPECT_EQ(result, MatchResult::unmatched);
    EXPECT_EQ(sem("x unheard z"), "-");
}

TEST_F(MatcherTest, CapturesTakeTheSubRulesValueOrItsWords)
{
    grammar(R"(public <set> = set <room> to <number> [degrees]
                   {"room":"$room","degrees":"$number","text":"$number in the $room, $$5"};
               <number> = twenty {20} | twenty one {21} | half {"0.5"};
               <room> = (living | dining) room | kitchen {k};)");
    EXPECT_EQ(sem("set living room to twenty one degrees"),
              R"({"room":"living room","degrees":21,"text":"21 in the living room, $5"})");
    EXPECT_EQ(sem("set kitchen to half"),
              R"({"room":"k","degrees":"0.5","text":"0.5 in the k, $5"})");
}

TEST_F(MatcherTest, CaptureIsTheNearestOneAndMissingOnesAreLeftOut)
{
    grammar(R"(public <a> = from <n> {"from":"$n"} to <n> {"to":"$n"} [via <m> {"via":"$m"}]
                   {"list":["$n","$m"]};
               <n> = one {1} | two {2}; <m> = <n>;)");
    EXPECT_EQ(sem("from one to two"), R"({"from":1,"to":2,"list":[2]})");
    // What <m> captured inside itself does not hide the rule's own captures.
    EXPECT_EQ(sem("from one to two via one"), R"({"from":1,"to":2,"via":"one","list":[2,"one"]})");
}

TEST_F(MatcherTest, TagBeforeItsCaptureIsFilledFromBehind)
{
    grammar(R"(public <a> = {"n":"$n"} count <n>; <n> = one {1} | two {2};)");
    EXPECT_EQ(sem("count two"), R"({"n":2})");
}

TEST_F(MatcherTest, SubRulesObjectIsItsValueToo)
{
    grammar(R"(public <a> = paint <c> {"what":"$c"}; <c> = red {"rgb":"f00"};)");
    EXPECT_EQ(sem("paint red"), R"({"rgb":"f00","what":{"rgb":"f00"}})");
}

TEST_F(MatcherTest, FirstPublicRuleAndFirstAlternativeWin)
{
    grammar(R"(public <b> = <one>; public <a> = x {"r":"a"};
               <one> = x {"r":"first"} | x {"r":"second"};)");
    EXPECT_EQ(sem("x"), R"({"r":"first"})");
    EXPECT_EQ(rule, "b");
}

TEST_F(MatcherTest, RepetitionAndRecursionMatchAsFarAsTheRestAllows)
{
    grammar(R"(public <a> = x* x {"last":true} | <list>; <list> = y {"y":1} [<list>];)");
    EXPECT_EQ(sem("x x x"), R"({"last":true})");
    EXPECT_EQ(sem("y y y y"), R"({"y":1})");
    EXPECT_EQ(sem("y x"), "-");
}

TEST_F(MatcherTest, AmbiguityDoesNotExplode)
{
    grammar("public <a> = (((x*)*)* x*)* (x | x x | [x] x)* (x* x*)* y;");
    std::string words;
    for (int i = 0; i < 60; ++i)
        words += "x ";
    EXPECT_EQ(sem(words), "-");
    EXPECT_EQ(result, MatchResult::unmatched);
    EXPECT_EQ(sem(words + "y"), "{}");
}

TEST_F(MatcherTest, WorkIsBounded)
{
    std::string many = "public <a> = x* w";
    for (int i = 0; i < 3000; ++i)
        many += " | x* w" + std::to_string(i);
    grammar(many + ";");
    std::string words;
    for (int i = 0; i < 390; ++i)
        words += "x ";
    sem(words);
    EXPECT_EQ(result, MatchResult::tooHard);
    grammar("public <a> = x [<a>];");
    sem(words);
    EXPECT_EQ(result, MatchResult::tooHard) << "deeper than the stack is allowed to grow";
}

} // namespace
