// Whether an utterance says a text: the model over a recording, the spectrum and the tokens before
// it.
#include "ostrel/runtime/verifier.h"

#include "ostrel/library.h"
#include "ostrel/runtime/byte_pairs.h"
#include "ostrel/runtime/log_mel.h"
#include "tests/ostrel/recordings.h"

#include <cmath>
#include <numbers>

using namespace vantel::ostrel;

namespace
{

struct Verification : recordings::LoadedEngine {
    void SetUp() override
    {
        if (!HAS_WHISPER) GTEST_SKIP() << "this build could not get the verifier's model";
        ASSERT_NE(verifier, nullptr);
    }

    double score(const std::string &audio, const std::string &text) const
    {
        double result = 0;
        EXPECT_TRUE(verify(*verifier, reinterpret_cast<const int16_t *>(audio.data()),
                           audio.size() / 2, text, &result));
        return result;
    }

    std::shared_ptr<const Verifier> verifier = verifierOpen();
};

TEST_F(Verification, TellsWhatWasSaidFromWhatWasNot)
{
    const std::string audio = recordings::load(recordings::kCommand);
    EXPECT_GT(score(audio, "go forward ten meters"), score(audio, "stop the music now") + 1);
    EXPECT_LT(score("", "打开电灯"), -2.2);
    EXPECT_EQ(verifierOpen(), verifier) << "all share one model";
}

TEST_F(Verification, TextIsSplitAsTheModelLearnedIt)
{
    std::string json;
    ASSERT_TRUE(vantel::readFile(findResource("whisper_tiny/vocabulary.json"), &json));
    const BytePairs vocabulary = bytePairsRead(json);
    auto split = [&](const char *text) { return bytePairsSplit(vocabulary, text); };
    using Tokens = std::vector<int64_t>;
    // As the vocabulary's own list of pairs has it.
    EXPECT_EQ(split("打开电灯"), (Tokens{12467, 18937, 42182, 13290, 107}));
    EXPECT_EQ(split("wifi"), (Tokens{86, 17638}));
    EXPECT_EQ(split(""), Tokens{});
    EXPECT_EQ(split("\xFF\xE4").size(), 2U) << "no UTF-8";
}

TEST(MissingVerifier, IsNoneWithoutARuntimeOrWithABrokenVocabulary)
{
    ASSERT_EQ(ostrel_library_load(R"({"logEnable":false,"onnxRuntime":""})"), 0);
    EXPECT_EQ(verifierOpen(), nullptr);
    ostrel_library_release();
    for (const char *json : {"", "[]", R"({"a":1})"})
        EXPECT_TRUE(bytePairsRead(json).empty()) << json;
}

TEST(LogMel, AToneIsInItsBandAndWhatIsMissingIsSilent)
{
    std::vector<int16_t> tone(16000);
    for (size_t i = 0; i < tone.size(); ++i)
        tone[i] = static_cast<int16_t>(
            8000 * std::sin(2 * std::numbers::pi * 1000 * static_cast<double>(i) / 16000));
    const std::vector<float> mel = logMel(tone.data(), tone.size());
    ASSERT_EQ(mel.size(), kMelBands * kMelFrames);
    auto at = [&](size_t band, size_t frame) { return mel[band * kMelFrames + frame]; };
    size_t loudest = 0;
    for (size_t band = 0; band < kMelBands; ++band)
        if (at(band, 50) > at(loudest, 50)) loudest = band;
    // 1000 Hz are 15 of the 45.2 mel over which 80 bands are spread, each two steps wide.
    EXPECT_EQ(loudest, 26U);
    // Silence is at the floor, 8 decades below the loudest: 2 of the scale.
    const float most = *std::max_element(mel.begin(), mel.end());
    EXPECT_FLOAT_EQ(at(loudest, 200), most - 2);
    EXPECT_FLOAT_EQ(at(0, kMelFrames - 1), most - 2);
    // Nothing at all is the same everywhere.
    const std::vector<float> empty = logMel(nullptr, 0);
    EXPECT_EQ(*std::min_element(empty.begin(), empty.end()),
              *std::max_element(empty.begin(), empty.end()));
}

} // namespace
