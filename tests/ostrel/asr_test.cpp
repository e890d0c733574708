#include "tests/ostrel/commands.h"
#include "tests/ostrel/recordings.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace commands;

namespace
{

constexpr const char *kGrammarOnly = R"({"ngram":"none"})";
constexpr double kThreshold = 0.55;

constexpr const char *kSomeDigits = R"(#JSGF V1.0;
grammar digits;
public <digits> = (zero | oh | one | two | three | four | five | six | seven | eight | nine)+;
)";

class AsrTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(ostrel_library_load("{}"), 0); }
    void TearDown() override { ostrel_library_release(); }
};

TEST_F(AsrTest, CommandComesWithItsMeaningAndPartialsOnTheWay)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    Recogniser recogniser{kGrammarOnly};
    const cJSON *result = recogniser.recognise(recordings::load("goforward.raw"));
    EXPECT_EQ(rec(result), "go forward ten meters");
    EXPECT_EQ(eof(result), 1);
    EXPECT_GT(conf(result), kThreshold);
    EXPECT_EQ(sem(result), R"({"dm":{"command":{"api":"vehicle.move",)"
                           R"("param":{"to":"forward","meters":10}}}})");
    EXPECT_EQ(vantel::jsonObject(result, "ngram"), nullptr);
    ASSERT_GE(recogniser.results.size(), 3U);
    for (size_t i = 0; i + 1 < recogniser.results.size(); ++i) {
        EXPECT_EQ(eof(recogniser.results[i].get()), 0);
        EXPECT_NE(rec(recogniser.results[i].get()), "");
    }
}

TEST_F(AsrTest, CardsAreRecognisedAndOtherSpeechAndNoiseStayBelowTheThreshold)
{
    ASSERT_EQ(compile(grammarText(kCards)), 0);
    Recogniser recogniser{kGrammarOnly};
    const char *const cards[] = {"ten of clubs", "four queen of clubs", "seven of clubs",
                                 "five five", "eight of spades four of clubs seven of hearts"};
    int right = 0;
    for (int i = 0; i < 5; ++i) {
        std::string name = "cards/00" + std::to_string(i + 1) + ".wav";
        const cJSON *result = recogniser.recognise(recordings::load(name));
        if (rec(result) == cards[i] && conf(result) >= kThreshold) right++;
    }
    EXPECT_GE(right, 4); // the second is not of this grammar
    for (const char *number : {"0870", "0880", "0890", "0930"}) {
        std::string name = "librivox/sense_and_sensibility_01_austen_64kb-" + std::string{number};
        EXPECT_LT(conf(recogniser.recognise(recordings::load(name + ".wav"))), kThreshold);
    }
    EXPECT_LT(conf(recogniser.recognise(recordings::noise(1500, 2000))), kThreshold);
    EXPECT_LT(conf(recogniser.recognise(recordings::silence(1500))), kThreshold);
}

// The final result owes nothing to how the audio was cut, nor to the utterances before it.
TEST_F(AsrTest, ResultDependsOnTheUtteranceAlone)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    Recogniser recogniser{kGrammarOnly};
    const std::string audio = recordings::load("goforward.raw");
    auto printed = [&] {
        return std::string{vantel::jsonPrint(recogniser.results.back().get()).get()};
    };
    recogniser.recognise(audio);
    const std::string first = printed();
    recogniser.recognise(recordings::noise(1000, 8000));
    for (size_t chunkBytes : {size_t{333}, audio.size()}) {
        ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
        ASSERT_EQ(recogniser.feed(audio, chunkBytes), 0);
        ASSERT_EQ(ostrel_asr_stop(recogniser.handle), 0);
        EXPECT_EQ(printed(), first) << chunkBytes;
    }
}

TEST_F(AsrTest, CancelDropsTheUtteranceAndNothingIsFedOutsideOfOne)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    const std::string audio = recordings::load("goforward.raw");
    Recogniser recogniser{R"({"ngram":"none","partials":false})"};
    EXPECT_NE(recogniser.feed(audio), 0);
    EXPECT_NE(ostrel_asr_stop(recogniser.handle), 0);
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    EXPECT_NE(ostrel_asr_feed(recogniser.handle, nullptr, 2), 0);
    EXPECT_NE(ostrel_asr_feed(recogniser.handle, audio.data(), -1), 0);
    ASSERT_EQ(recogniser.feed(audio), 0);
    EXPECT_EQ(ostrel_asr_cancel(recogniser.handle), 0);
    EXPECT_NE(ostrel_asr_stop(recogniser.handle), 0);
    EXPECT_TRUE(recogniser.results.empty());
    // What was cancelled is no part of the next utterance, nor what a new start cut off.
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    ASSERT_EQ(recogniser.feed(audio), 0);
    EXPECT_EQ(rec(recogniser.recognise(recordings::silence(40))), "");
    EXPECT_EQ(recogniser.results.size(), 1U);
    for (auto function : {ostrel_asr_stop, ostrel_asr_cancel, ostrel_asr_delete})
        EXPECT_NE(function(nullptr), 0);
}

TEST_F(AsrTest, LongUtteranceMeetsTheLimitAndKeepsWhatFitted)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    const std::string audio = recordings::load("goforward.raw");
    const std::string limit = std::to_string(audio.size() / 32 + 1);
    Recogniser recogniser{R"({"ngram":"none","limit":)" + limit + "}"};
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    EXPECT_EQ(recogniser.feed(audio), 0);
    const std::string more = recordings::noise(1000, 20000);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(ostrel_asr_feed(recogniser.handle, more.data(), 6400), OSTREL_LIMIT_EXCEEDED);
    EXPECT_EQ(ostrel_asr_stop(recogniser.handle), 0);
    EXPECT_EQ(rec(recogniser.results.back().get()), "go forward ten meters");
}

TEST_F(AsrTest, StartTextSwitchesTheGrammarAndThePinyin)
{
    ASSERT_EQ(
        compile(grammarText("#JSGF V1.0;\ngrammar t;\npublic <a> = 去 forward ten meters;\n",
                            R"(,"userDict":")" + std::string{TEST_FILES} + R"(/reading.dict")")),
        0);
    Recogniser recogniser{kGrammarOnly};
    const std::string audio = recordings::load("goforward.raw");
    auto pinyin = [](const cJSON *result) {
        const char *text = vantel::jsonString(vantel::jsonObject(result, "grammar"), "pinyin");
        return std::string{text ? text : "-"};
    };
    const cJSON *result = recogniser.recognise(audio, nullptr);
    EXPECT_EQ(rec(result), "去 forward ten meters");
    EXPECT_EQ(pinyin(result), "qu4");
    EXPECT_EQ(pinyin(recogniser.recognise(audio, R"({"env":"use_pinyin=0;use_xbnf_rec=1;"})")),
              "-");
    EXPECT_EQ(pinyin(recogniser.recognise(audio, R"({"env":"lang=\"a;use_pinyin=0\";x"})")), "qu4");
    EXPECT_EQ(pinyin(recogniser.recognise(audio, "no JSON")), "qu4");
    result = recogniser.recognise(audio, R"({"env":"lang=\"zh\";use_xbnf_rec=false;"})");
    EXPECT_EQ(vantel::jsonObject(result, "grammar"), nullptr);
    EXPECT_EQ(eof(result, "ngram"), 1);
    EXPECT_EQ(recogniser.results.size(), 1U) << "no partial results of a grammar that is off";
}

TEST_F(AsrTest, AnotherModelAndDictionaryComeByConfiguration)
{
    const std::string folder = std::string{RECORDINGS_FOLDER} + "/tidigits/";
    ASSERT_EQ(compile(grammarText(kSomeDigits, R"(,"dict":")" + folder + R"(lm/tidigits.dic")")),
              0);
    EXPECT_EQ(Recogniser{kGrammarOnly}.handle, nullptr) << "phones that the English model lacks";
    Recogniser recogniser{R"({"ngram":"none","hmm":")" + folder + R"(hmm"})"};
    ASSERT_NE(recogniser.handle, nullptr);
    EXPECT_EQ(rec(recogniser.recognise(recordings::load("tidigits/dhd.2934z.raw"))),
              "two nine three four zero");
}

TEST_F(AsrTest, WhatCannotBeMadeIsNoHandle)
{
    EXPECT_EQ(Recogniser{kGrammarOnly}.handle, nullptr) << "nothing to recognise with";
    ASSERT_EQ(compile(grammarText(kVehicle, R"(,"name":"vehicle")")), 0);
    for (const char *configuration :
         {"", "[]", R"({"grammar":"unknown","ngram":"none"})", R"({"grammarFile":"/none"})",
          R"({"grammar":"vehicle","ngram":"other"})",
          R"({"grammar":"vehicle","ngram":"none","hmm":"/none"})"})
        EXPECT_EQ(Recogniser{configuration}.handle, nullptr) << configuration;
    EXPECT_NE((Recogniser{R"({"grammar":"vehicle","ngram":"none"})"}.handle), nullptr);
}

#if HAS_MOONSHINE
TEST_F(AsrTest, FreeSpeechComesBesideTheGrammar)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    Recogniser recogniser{"{}"};
    const cJSON *result = recogniser.recognise(recordings::load("goforward.raw"));
    EXPECT_GT(conf(result), kThreshold);
    EXPECT_EQ(rec(result, "ngram").substr(0, 10), "go forward");
    EXPECT_EQ(eof(result, "ngram"), 1);
    result = recogniser.recognise(
        recordings::load("librivox/sense_and_sensibility_01_austen_64kb-0880.wav"));
    EXPECT_LT(conf(result), kThreshold);
    EXPECT_NE(rec(result, "ngram").find("young man"), std::string::npos);
    result = recogniser.recognise(recordings::load("goforward.raw"), R"({"env":"use_ngram=0;"})");
    EXPECT_EQ(vantel::jsonObject(result, "ngram"), nullptr);
}
#endif

TEST_F(AsrTest, InstancesDecodeAtOnceOnTheirThreads)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    const std::string audio = recordings::load("goforward.raw");
    std::vector<std::thread> threads;
    std::atomic<int> right{0};
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            std::string name = "thread" + std::to_string(i);
            if (compile(grammarText(kVehicle, R"(,"name":")" + name + "\"")) != 0) return;
            Recogniser recogniser{R"({"ngram":"none","grammar":")" + name + "\"}"};
            for (int n = 0; n < 2; ++n)
                if (rec(recogniser.recognise(audio)) == "go forward ten meters") right++;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(right, 8);
}

} // namespace
