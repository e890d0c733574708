// The streaming recogniser: what it takes, how an utterance ends itself, and audio without end.
#include "tests/ostrel/spoken_commands.h"
#include "tests/support/folder.h"

#if HAS_STREAMING

using namespace commands;

namespace
{

struct StreamTest : testing::Test {
    StreamTest()
    {
        const std::string configuration =
            R"({"logEnable":true,"level":3,"logFile":")" + (folder / "log") + "\"}";
        EXPECT_EQ(ostrel_library_load(configuration.c_str()), 0);
    }
    ~StreamTest() override { ostrel_library_release(); }
    std::string log() const
    {
        std::string text;
        EXPECT_TRUE(vantel::readFile(folder / "log", &text));
        return text;
    }

    const Folder folder;
    const std::string audio = recordings::load(recordings::kCommand);
};

std::string oneSentence(const std::string &sentence)
{
    return "#JSGF V1.0;\ngrammar t;\npublic <a> = " + sentence + ";\n";
}

TEST_F(StreamTest, GrammarWhoseWordsItLacksGoesToTheOtherRecogniser)
{
    ASSERT_EQ(compile(grammarText(oneSentence("go forward ten meters | brillig vorpal"))), 0);
    Recogniser other{R"({"ngram":"none"})"};
    EXPECT_EQ(rec(other.recognise(audio)), "go forward ten meters");
    EXPECT_NE(log().find("not recognised by streaming: its vocabulary lacks brillig, vorpal"),
              std::string::npos);
    EXPECT_NE(log().find("recognised by fsg"), std::string::npos);
    EXPECT_EQ((Recogniser{R"({"engine":"streaming","ngram":"none"})"}.handle), nullptr);
    EXPECT_EQ((Recogniser{R"({"engine":"other","ngram":"none"})"}.handle), nullptr);
    // Words that sound alike stand in for them, also out of a compiled file.
    const std::string file = folder / "compiled";
    ASSERT_EQ(compile(grammarText(oneSentence("gofor ward ten meters"),
                                  R"(,"respell":{"gofor":"go for"},"out":")" + file + "\"")),
              0);
    Recogniser respelled{R"({"engine":"streaming","ngram":"none","grammarFile":")" + file + "\"}"};
    EXPECT_EQ(rec(respelled.recognise(audio)), "gofor ward ten meters");
    // The model's own marks are no words, though it has them among these.
    for (const std::string mark : {"<eps>", "[unk]", "#0"}) {
        ASSERT_EQ(compile(grammarText(oneSentence("gofor ward ten meters"),
                                      R"(,"respell":{"gofor":"go )" + mark + "\"}")),
                  0);
        EXPECT_EQ((Recogniser{R"({"engine":"streaming","ngram":"none"})"}.handle), nullptr) << mark;
    }
}

TEST_F(StreamTest, MissingOrForeignModelLeavesTheOtherRecogniser)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    for (const std::string model : {"/none", RECORDINGS_FOLDER "/tidigits/hmm"}) {
        const std::string members = R"("ngram":"none","streamingModel":")" + model + "\"";
        EXPECT_EQ((Recogniser{"{\"engine\":\"streaming\"," + members + "}"}.handle), nullptr);
        EXPECT_NE(log().find("the model has no " + model + "/am/final.mdl"), std::string::npos);
        EXPECT_NE((Recogniser{"{" + members + "}"}.handle), nullptr);
    }
}

// The recogniser's library tells what is wrong on standard error, if at all, and lives on.
TEST_F(StreamTest, BrokenModelIsRefused)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    std::filesystem::copy(STREAMING_MODEL, folder / "model",
                          std::filesystem::copy_options::recursive);
    const std::string configuration =
        R"({"engine":"streaming","ngram":"none","streamingModel":")" + (folder / "model") + "\"}";
    EXPECT_NE(Recogniser{configuration}.handle, nullptr);
    for (const char *file : {"model/graph/Gr.fst", "model/am/final.mdl"}) {
        folder.write(file, "not a part of a model");
        ostrel_library_release();
        EXPECT_EQ(ostrel_library_load("{}"), 0);
        ASSERT_EQ(compile(grammarText(kVehicle)), 0);
        EXPECT_EQ(Recogniser{configuration}.handle, nullptr) << file;
    }
}

TEST_F(StreamTest, UtteranceEndsItselfOnceAndTheNextBeginsClean)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    Recogniser recogniser{R"({"engine":"streaming","ngram":"none","earlyEnd":true})"};
    for (int turn = 0; turn < 2; ++turn) {
        recogniser.results.clear();
        ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
        EXPECT_EQ(recogniser.feed(audio + recordings::silence(1000)), 0);
        ASSERT_FALSE(recogniser.results.empty());
        EXPECT_EQ(rec(recogniser.results.back().get()), "go forward ten meters");
        EXPECT_EQ(eof(recogniser.results.back().get()), 1);
        const size_t delivered = recogniser.results.size();
        EXPECT_EQ(recogniser.feed(audio), 0);
        EXPECT_EQ(ostrel_asr_stop(recogniser.handle), 0);
        EXPECT_EQ(recogniser.results.size(), delivered) << "twice";
        EXPECT_NE(ostrel_asr_stop(recogniser.handle), 0) << "no utterance";
    }
    // What is no sentence yet does not end.
    recogniser.results.clear();
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    EXPECT_EQ(recogniser.feed(audio.substr(0, 1400 * 32) + recordings::silence(300)), 0);
    for (const vantel::Json &result : recogniser.results)
        EXPECT_EQ(eof(result.get()), 0);
    EXPECT_EQ(ostrel_asr_stop(recogniser.handle), 0);
    EXPECT_EQ(eof(recogniser.results.back().get()), 1);
}

TEST_F(StreamTest, PhrasesAreFoundInAudioWithoutEnd)
{
    ASSERT_EQ(compile(grammarText(oneSentence("go forward ten meters | open the window"))), 0);
    Recogniser recogniser{R"({"continuous":true,"limit":1000})"};
    ASSERT_NE(recogniser.handle, nullptr);
    const std::string other =
        recordings::load("librivox/sense_and_sensibility_01_austen_64kb-0880.wav");
    ASSERT_EQ(ostrel_asr_start(recogniser.handle, nullptr), 0);
    std::vector<size_t> said; // when, in ms
    std::string heard = recordings::silence(12000);
    for (int i = 0; i < 3; ++i) {
        heard += other + recordings::silence(300);
        said.push_back(heard.size() / 32);
        heard += audio;
    }
    heard += recordings::silence(1500);
    EXPECT_EQ(recogniser.feed(heard, 999), 0);
    std::vector<const cJSON *> found;
    for (const vantel::Json &result : recogniser.results)
        if (eof(result.get()) == 1) found.push_back(result.get());
    ASSERT_EQ(found.size(), said.size());
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(rec(found[i]), "go forward ten meters");
        EXPECT_GT(conf(found[i]), 0.55);
        const cJSON *words = vantel::jsonMember(vantel::jsonObject(found[i], "grammar"), "words");
        // The first word begins 450 ms into the recording.
        EXPECT_NEAR(vantel::jsonInt(cJSON_GetArrayItem(words, 0), "begin", 0),
                    static_cast<int>(said[i]) + 450, 100);
    }
    EXPECT_EQ(ostrel_asr_stop(recogniser.handle), 0);
    EXPECT_EQ(eof(recogniser.results.back().get()), 1);
    EXPECT_EQ((Recogniser{R"({"continuous":true,"engine":"fsg"})"}.handle), nullptr);
}

} // namespace

#endif
