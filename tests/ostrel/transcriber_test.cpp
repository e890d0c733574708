// Free speech to text: the model over recordings, and its tokens to text to words.
#include "ostrel/runtime/transcriber.h"

#include "tests/ostrel/recordings.h"

using namespace vantel::ostrel;

namespace
{

struct Transcription : recordings::LoadedEngine {
    void SetUp() override
    {
        if (!HAS_MOONSHINE) GTEST_SKIP() << "this build could not get the transcriber's model";
        ASSERT_NE(transcriber, nullptr);
    }

    Transcript hear(const std::string &audio) const
    {
        Transcript transcript;
        EXPECT_TRUE(transcribe(*transcriber, reinterpret_cast<const int16_t *>(audio.data()),
                               audio.size() / 2, &transcript));
        return transcript;
    }

    std::shared_ptr<const Transcriber> transcriber = transcriberOpen();
};

TEST_F(Transcription, KnowsSpeechFromNoise)
{
    Transcript spoken = hear(recordings::load(recordings::kCommand));
    EXPECT_EQ(transcriptWords(spoken.text), "go forward ten meters");
    EXPECT_GT(spoken.confidence, 0.5);
    EXPECT_LT(spoken.noise, 0.5);
    EXPECT_GT(hear(noise(16000, 2048)).noise, 0.9);
    EXPECT_EQ(hear("").text, "");
    hear(recordings::silence(1)); // shorter than the model can take
    EXPECT_EQ(transcriberOpen(), transcriber) << "all share one model";
}

TEST(MissingModel, MakesNoTranscriber)
{
    ASSERT_EQ(ostrel_library_load(R"({"logEnable":false,"onnxRuntime":""})"), 0);
    EXPECT_EQ(transcriberOpen(), nullptr);
    ostrel_library_release();
}

TEST(Vocabulary, TokensSpellTextAndBrokenCharactersVanish)
{
    auto vocabulary = vocabularyRead("<unk>\n<s>\n</s>\n▁Hi\nya\n<0xE4>\n<0xBD>\n<0xA0>");
    ASSERT_EQ(vocabulary.size(), 8U);
    auto spell = [&](std::vector<int64_t> tokens) { return vocabularySpell(vocabulary, tokens); };
    EXPECT_EQ(spell({1, 3, 4, 3, 2}), "Hiya Hi");
    EXPECT_EQ(spell({5, 6, 7, 4}), "你ya");
    EXPECT_EQ(spell({3, 5, 6, 4, 7}), "Hiya") << "half a character";
    EXPECT_EQ(spell({-1, 8, 1000000, 4}), "ya") << "no such tokens";
    EXPECT_TRUE(vocabularyRead("").empty());
}

TEST(TranscriptWords, KeepWhatIsSpokenOnly)
{
    EXPECT_EQ(transcriptWords("Front, center!"), "front center");
    EXPECT_EQ(transcriptWords("  It's \"cold-hearted\"...  "), "it's cold hearted");
    EXPECT_EQ(transcriptWords("Don’t — set 21.5 degrees."), "don't set 21.5 degrees");
    EXPECT_EQ(transcriptWords("Über 'quoted' café"), "Über quoted café");
    EXPECT_EQ(transcriptWords("?!"), "");
}

} // namespace
