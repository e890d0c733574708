#include "tests/ostrel/spoken_commands.h"

#include <algorithm>
#include <thread>

using namespace commands;

namespace
{

constexpr const char *kGrammarOnly = R"({"ngram":"none"})";
constexpr const char *kWithText = HAS_MOONSHINE ? R"(,"ngram":"moonshine")" : "";
constexpr const char *kSaid = "go forward ten meters";
constexpr double kThreshold = 0.55;

struct AsrTest : recordings::LoadedEngine {
    const std::string audio = recordings::load(recordings::kCommand);
};

struct VehicleTest : AsrTest {
    VehicleTest() { EXPECT_EQ(compile(grammarText(kVehicle)), 0); }
};

TEST_F(VehicleTest, CommandComesWithItsMeaningAndPartialsOnTheWay)
{
    Recogniser recogniser{kGrammarOnly};
    const cJSON *result = recogniser.recognise(audio);
    EXPECT_EQ(rec(result), kSaid);
    EXPECT_EQ(eof(result), 1);
    EXPECT_GT(conf(result), kThreshold);
    EXPECT_NE(printed(result).find(R"("post":{"sem":{"dm":{"command":{"api":"vehicle.move",)"
                                   R"("param":{"to":"forward","meters":10}}}}})"),
              std::string::npos);
    EXPECT_EQ(vantel::jsonObject(result, "ngram"), nullptr);
    ASSERT_GE(recogniser.results.size(), 3U);
    recogniser.results.pop_back();
    for (const vantel::Json &partial : recogniser.results) {
        EXPECT_EQ(eof(partial.get()), 0);
        EXPECT_NE(rec(partial.get()), "");
    }
}

// What is put in front of the utterance puts every word off by as much.
TEST_F(VehicleTest, WordsHaveTheirTimes)
{
    Recogniser recogniser{kGrammarOnly};
    auto times = [&](const std::string &utterance) {
        std::vector<int> all;
        std::string texts;
        const cJSON *grammar = vantel::jsonObject(recogniser.recognise(utterance), "grammar");
        const cJSON *word = nullptr;
        cJSON_ArrayForEach(word, vantel::jsonMember(grammar, "words"))
        {
            texts += std::string{texts.empty() ? "" : " "} + vantel::jsonString(word, "text");
            all.push_back(vantel::jsonInt(word, "begin", -1));
            all.push_back(vantel::jsonInt(word, "end", -1));
        }
        EXPECT_EQ(texts, kSaid);
        EXPECT_TRUE(std::is_sorted(all.begin(), all.end()));
        return all;
    };
    constexpr int kShiftMs = 300;
    const std::vector<int> plain = times(audio);
    const std::vector<int> shifted = times(recordings::silence(kShiftMs) + audio);
    ASSERT_EQ(plain.size(), 8U);
    ASSERT_EQ(shifted.size(), 8U);
    for (size_t i = 0; i < plain.size(); ++i)
        EXPECT_NEAR(shifted[i] - plain[i], kShiftMs, 50);
}

TEST_F(AsrTest, OtherSpeechAndNoiseStayBelowTheThreshold)
{
    ASSERT_EQ(compile(grammarText(kCards)), 0);
    Recogniser recogniser{kGrammarOnly};
    for (const std::string &other :
         {recordings::load("librivox/sense_and_sensibility_01_austen_64kb-0890.wav"),
          recordings::load("librivox/sense_and_sensibility_01_austen_64kb-0930.wav"),
          noise(24000, 2000), recordings::silence(1500)})
        EXPECT_LT(conf(recogniser.recognise(other)), kThreshold);
}

// The final result owes nothing to how the audio was cut, nor to the utterances before it.
TEST_F(VehicleTest, ResultDependsOnTheUtteranceAlone)
{
    Recogniser recogniser{kGrammarOnly};
    auto result = [&](size_t chunkBytes) {
        return printed(recogniser.recognise(audio, nullptr, chunkBytes));
    };
    const std::string first = result(3200);
    recogniser.recognise(noise(16000, 8000) + "x"); // half a sample
    EXPECT_EQ(result(333), first);
    EXPECT_EQ(result(audio.size()), first);
}

TEST_F(VehicleTest, CancelDropsTheUtteranceAndNothingIsFedOutsideOfOne)
{
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
    EXPECT_NE(ostrel_asr_stop(nullptr), 0);
    EXPECT_NE(ostrel_asr_cancel(nullptr), 0);
}

TEST_F(VehicleTest, LongUtteranceMeetsTheLimitAndKeepsWhatFitted)
{
    const std::string twice = audio + audio;
    Recogniser unlimited{kGrammarOnly};
    const cJSON *expected = unlimited.recognise(twice.substr(0, 2800 * 32));
    EXPECT_EQ(rec(expected), kSaid);
    Recogniser recogniser{R"({"ngram":"none","limit":2800})"};
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(recogniser.feed(twice), OSTREL_LIMIT_EXCEEDED);
    EXPECT_EQ(ostrel_asr_stop(recogniser.handle), 0);
    EXPECT_EQ(printed(recogniser.results.back().get()), printed(expected));
}

TEST_F(AsrTest, StartTextSwitchesTheGrammarAndThePinyin)
{
    const std::string dictionary = R"(,"userDict":")" TEST_FILES R"(/reading.dict")";
    const char *grammar = "#JSGF V1.0;\ngrammar t;\npublic <a> = 去 forward ten meters;\n";
    ASSERT_EQ(compile(grammarText(grammar, dictionary)), 0);
    Recogniser recogniser{kGrammarOnly};
    auto pinyin = [](const cJSON *result) {
        const char *text = vantel::jsonString(vantel::jsonObject(result, "grammar"), "pinyin");
        return std::string{text ? text : "-"};
    };
    const cJSON *result = recogniser.recognise(audio, R"({"env":"use_pinyin=1;use_xbnf_rec=1;"})");
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
    Recogniser both{"{}"};
    result = both.recognise(audio, R"({"env":"use_ngram=0;"})");
    EXPECT_EQ(vantel::jsonObject(result, "ngram"), nullptr);
}

TEST_F(AsrTest, AnotherModelAndDictionaryComeByConfiguration)
{
    const std::string folder = std::string{RECORDINGS_FOLDER} + "/tidigits/";
    const std::string dictionary = R"(,"dict":")" + folder + R"(lm/tidigits.dic")";
    const char *grammar = R"(#JSGF V1.0;
grammar digits;
public <digits> = (zero | oh | one | two | three | four | five | six | seven | eight | nine)+;
)";
    ASSERT_EQ(compile(grammarText(grammar, dictionary)), 0);
    EXPECT_EQ((Recogniser{R"({"ngram":"none","engine":"fsg"})"}.handle), nullptr)
        << "phones that the English model lacks";
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

TEST_F(VehicleTest, InstancesDecodeAtOnceOnTheirThreads)
{
    std::vector<std::thread> threads;
    for (char name = 'a'; name < 'e'; ++name) {
        threads.emplace_back([this, member = std::string{"\":\""} + name + "\""] {
            EXPECT_EQ(compile(grammarText(kVehicle, ",\"name" + member)), 0);
            Recogniser recogniser{"{\"grammar" + member + kWithText + "}"};
            for (int n = 0; n < 2; ++n) {
                const cJSON *result = recogniser.recognise(audio);
                EXPECT_EQ(rec(result), kSaid);
                EXPECT_EQ(rec(result, "ngram"), HAS_MOONSHINE ? kSaid : "");
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

} // namespace
