// The tails of the wakeup word, worked out at each start.
#include "src/dms/dms_record.h"

#include <gtest/gtest.h>

using namespace vantel;
using namespace vantel::dms;

namespace
{

// Twelve characters, the most that are taken.
const std::string kLongWord = "一二三四五六七八九十百千";

struct TailCase {
    const char *params;
    std::optional<std::string> subsets;
};

const TailCase kCases[] = {
    {R"({"wakeupWord":"你好小驰"})", "驰,小驰,好小驰,你好小驰"},
    {R"({"wakeupWord":"小驰小驰"})", "驰,小驰,驰小驰,小驰小驰"},
    {R"({"wakeupWord":""})", ""},
    // A word that does not make JSON has no tails, but is no error.
    {R"({"wakeupWord":"a\"b"})", ""},
    {R"({"subsets":"甲,乙","wakeupWord":"abcd"})", "甲,乙"},
    {R"({"wakeupWord":3,"subsets":["x"]})", std::nullopt},
    {"no json", std::nullopt},
    {nullptr, std::nullopt},
};

TEST(WakeupTails, AreTakenFromTheStartParameters)
{
    DmsRecord record;
    for (const TailCase &one : kCases) {
        record.subsets = "held before";
        _getWakeupWordsSets(&record, one.params);
        EXPECT_EQ(record.subsets, one.subsets) << orNull(one.params);
        EXPECT_TRUE(record.held.empty()) << orNull(one.params);
    }
}

TEST(WakeupTails, OfTwelveCharactersAreMadeAndOfMoreRefused)
{
    DmsRecord record;
    _getWakeupWordsSets(&record, (R"({"wakeupWord":")" + kLongWord + R"("})").c_str());
    EXPECT_TRUE(record.subsets->starts_with("千,百千,"));
    EXPECT_TRUE(record.subsets->ends_with("," + kLongWord));
    EXPECT_EQ(record.subsets->size(), 3U * 12 * 13 / 2 + 11);

    for (const std::string &word : {std::string("abcd"), kLongWord + "万"}) {
        record.held.clear();
        _getWakeupWordsSets(&record, (R"({"wakeupWord":")" + word + R"("})").c_str());
        EXPECT_FALSE(record.subsets);
        EXPECT_EQ(record.held, HeldReports{VANTEL_ERROR_WAKEUP_WORD_TAILS});
    }
}

TEST(WakeupTails, LongestMatchingTailIsStripped)
{
    const std::string tails = "驰,小驰,好小驰,你好小驰";
    EXPECT_EQ(withoutWakeupTail("你好小驰打开", tails), "打开");
    EXPECT_EQ(withoutWakeupTail("打开小驰", tails), "打开小驰");
    EXPECT_EQ(withoutWakeupTail("好小驰", tails), "");
    EXPECT_EQ(withoutWakeupTail("小小驰", "小驰,,小,"), "小驰");
}

} // namespace
