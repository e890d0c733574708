// Chinese words: how they are read and spoken, and a home commanded through the whole library.
#include "ostrel/words/mandarin.h"

#include "ostrel/grammar/jsgf_matcher.h"
#include "ostrel/library.h"
#include "ostrel/words/pronounce.h"
#include "tests/ostrel/recordings.h"
#include "tests/ostrel/spoken_commands.h"
#include "tests/support/pcm.h"
#include "tools/read_file.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace vantel;
using namespace vantel::ostrel;

namespace
{

using Texts = std::vector<std::string>;

const std::string kFiles = TEST_FILES;

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
    EXPECT_EQ(phones("zhi"), (Texts{"JH ER", "JH IH"}));
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

TEST(Mandarin, LongestWordsOfADictionaryComeBeforeCharacters)
{
    const std::string configuration = R"({"userDict":")" + kFiles + R"(/home.dict"})";
    EXPECT_EQ(spoken("打开", configuration), Texts{"T AA K AY = da kai"});
    EXPECT_EQ(spoken("打开电灯", configuration).front(),
              "T AA K AY D Y EH N D AH NG = da kai dian deng");
    EXPECT_EQ(spoken("打电", configuration).front(), "B AA D Y EH N = da dian");
    EXPECT_EQ(spoken("再打开电", configuration).front(),
              "D Z AY T AA K AY D Y EH N = zai da kai dian");
}

TEST(Mandarin, OnesOwnPhoneMapIsSpokenAndTheResultTellsThePinyin)
{
    const std::string map = R"("phoneMap":")" + kFiles + R"(/english.phones")";
    EXPECT_EQ(spoken("十米", "{" + map + "}"),
              (Texts{"T IY N M IY T ER Z = shi mi", "T EH N M IY T ER Z = shi mi"}));
    EXPECT_EQ(spoken("开", "{" + map + "}"), Texts{"no pronunciation of \"开\""});
    Pronouncer pronouncer;
    EXPECT_FALSE(pronouncerOpen(jsonParse(R"({"phoneMap":"absent.phones"})").get(), &pronouncer));

    const char *grammar = "#JSGF V1.0;\ngrammar t;\npublic <a> = (前 | 后) 进 十米 | 停止;\n";
    ASSERT_EQ(ostrel_library_load("{}"), 0);
    ASSERT_EQ(commands::compile(commands::grammarText(
                  grammar, "," + map + R"(,"words":{"后":"B AE K","停止":"S T AA P"})")),
              0);
    {
        commands::Recogniser recogniser{R"({"partials":false})"};
        const cJSON *result = recogniser.recognise(recordings::load("goforward.raw"));
        EXPECT_EQ(commands::rec(result), "前 进 十米");
        EXPECT_STREQ(jsonString(jsonObject(result, "grammar"), "pinyin"), "qian jin shi mi");
        EXPECT_EQ(jsonObject(result, "ngram"), nullptr) << "the transcriber knows English only";
    }
    ostrel_library_release();
}

// What bench/mandarin.tsv measures has to be what the command-line host demonstrates.
TEST(Mandarin, MeasuredCommandsAreThoseOfTheDemoGrammar)
{
    const std::string root = kFiles + "/../../";
    std::string grammar;
    std::string list;
    ASSERT_TRUE(readFile(root + "apps/grammars/zh.gram", &grammar));
    ASSERT_TRUE(readFile(root + "bench/mandarin.tsv", &list));
    RuleTree tree;
    Diagnostics diagnostics;
    ASSERT_TRUE(readJsgf(grammar, &tree, &diagnostics));
    std::istringstream lines{list};
    int commands = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields{line};
        std::string kind;
        std::string text;
        if (!std::getline(fields, kind, '\t') || !std::getline(fields, text, '\t')) continue;
        std::istringstream stream{text};
        Texts words{std::istream_iterator<std::string>{stream}, {}};
        Meaning meaning;
        bool isCommand = matchWords(tree, words, &meaning) == MatchResult::matched;
        EXPECT_EQ(isCommand, kind == "command") << text;
        commands += isCommand;
    }
    EXPECT_EQ(commands, 20);
}

TEST(Mandarin, NoiseAndSilenceAreNoCommands)
{
    std::string grammar;
    ASSERT_TRUE(readFile(kFiles + "/../../apps/grammars/zh.gram", &grammar));
    ASSERT_EQ(ostrel_library_load("{}"), 0);
    ASSERT_EQ(commands::compile(commands::grammarText(grammar)), 0);
    {
        commands::Recogniser recogniser{R"({"partials":false})"};
        for (const std::string &audio :
             {noise(24000, 1000), noise(32000, 4000), recordings::silence(1500)})
            EXPECT_LT(commands::conf(recogniser.recognise(audio)), 0.55);
    }
    ostrel_library_release();
}

} // namespace
