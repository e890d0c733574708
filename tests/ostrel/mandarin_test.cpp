// Chinese words: how they are read and spoken, and a home commanded through the whole library.
#include "ostrel/mandarin.h"

#include "ostrel/library.h"
#include "ostrel/pronounce.h"

#include <gtest/gtest.h>

using namespace vantel;
using namespace vantel::ostrel;

namespace
{

using Texts = std::vector<std::string>;

Texts phones(const std::string &syllable)
{
    static const std::shared_ptr<const PhoneMap> map = phoneMapOpen("");
    return phonesOf(*map, syllable);
}

// The pronunciations of a word as "phones = reading", or the reason why there is none.
Texts spoken(const std::string &word, const std::string &configuration = "{}")
{
    Pronouncer pronouncer;
    Pronunciations found;
    std::string reason;
    EXPECT_TRUE(pronouncerOpen(jsonParse(configuration.c_str()).get(), &pronouncer));
    if (!pronounce(pronouncer, word, &found, &reason)) return {reason};
    Texts texts;
    for (const Pronunciation &each : found)
        texts.push_back(each.phones + " = " + each.reading);
    return texts;
}

TEST(Mandarin, ReadingsComeWithoutTonesAndTheMostFrequentFirst)
{
    EXPECT_EQ(readingsOf("一"), Texts{"yi"});
    EXPECT_EQ(readingsOf("行"), (Texts{"xing", "hang", "heng"}));
    EXPECT_EQ(readingsOf("女"), Texts{"nü"});
    EXPECT_EQ(readingsOf("a"), Texts{});
    EXPECT_EQ(readingsOf("é"), Texts{});
    EXPECT_TRUE(hasChinese("打开wifi"));
    EXPECT_FALSE(hasChinese("wifi é 。"));
    EXPECT_FALSE(hasChinese("\xE6\x89")) << "a character that is cut off";
}

TEST(Mandarin, OrthographyLeadsToTheSoundsBehindIt)
{
    EXPECT_EQ(phones("you"), Texts{"Y OW"});
    EXPECT_EQ(phones("yuan"), Texts{"Y EH N"});
    EXPECT_EQ(phones("wen"), Texts{"W AH N"});
    EXPECT_EQ(phones("wu"), Texts{"UW"});
    EXPECT_EQ(phones("jun"), Texts{"JH Y UW N"});
    EXPECT_EQ(phones("lun"), Texts{"L W AH N"});
    EXPECT_EQ(phones("zhi"), Texts{"JH ER"});
    EXPECT_EQ(phones("zi"), Texts{"D Z IH"});
    EXPECT_EQ(phones("xue"), (Texts{"SH UH EH", "S UH EH"}));
    EXPECT_EQ(phones("zhx"), Texts{});
}

TEST(Mandarin, EverySyllableOfTheTableHasPhones)
{
    for (char32_t code = 0x4E00; code < 0x9FFF; ++code) {
        std::string character{static_cast<char>(0xE0 | code >> 12),
                              static_cast<char>(0x80 | (code >> 6 & 0x3F)),
                              static_cast<char>(0x80 | (code & 0x3F))};
        for (const std::string &reading : readingsOf(character))
            ASSERT_FALSE(phones(reading).empty()) << character << " " << reading;
    }
}

TEST(Mandarin, WordsAreSpokenInTheLikeliestOfTheirWaysFirst)
{
    EXPECT_EQ(spoken("音乐"), (Texts{"IY N L AH = yin le", "IY N UH EH = yin yue"}));
    EXPECT_EQ(spoken("打开wifi").front(), "D AA K AY W AY F AY = da kai");
    EXPECT_EQ(spoken("行行行行").size(), 8U);
    EXPECT_EQ(spoken("打开。"), Texts{"no pronunciation of \"打开。\""});
}

} // namespace
