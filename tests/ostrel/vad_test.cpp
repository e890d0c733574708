// The voice activity detector through its C interface, over recordings of people.
#include "tests/ostrel/recordings.h"

#include <gtest/gtest.h>
#include <memory>
#include <ostream>
#include <thread>

using recordings::Detector;
using recordings::Heard;
using recordings::silence;

namespace
{

constexpr int kBegin = 1;
constexpr int kEnd = 2;
constexpr int64_t kBytesPerMs = 32;

// Where people hear the command of this recording begin and end.
constexpr char kCommand[] = "goforward.raw";
constexpr int kCommandBeginMs = 495;
constexpr int kCommandEndMs = 2390;
constexpr int kToleranceMs = 200;

int ms(int64_t bytes)
{
    return static_cast<int>(bytes / kBytesPerMs);
}

struct Engine {
    const char *configuration;
    bool built; // whether this build has it
};

void PrintTo(const Engine &engine, std::ostream *out)
{
    *out << engine.configuration;
}

const Engine kSilero = {R"({"engine":"silero"})", HAS_SILERO};
const Engine kWebrtc = {R"({"engine":"webrtc"})", HAS_WEBRTC};

class AnyDetector : public testing::TestWithParam<Engine>
{
protected:
    void SetUp() override
    {
        if (!GetParam().built)
            GTEST_SKIP() << "this build could not get " << GetParam().configuration;
        ASSERT_EQ(ostrel_library_load(R"({"logEnable":false})"), 0);
        detector = std::make_unique<Detector>(GetParam().configuration);
        ASSERT_NE(detector->handle(), nullptr);
    }

    void TearDown() override
    {
        detector.reset();
        ostrel_library_release();
    }

    // One turn over the recording and a second of silence.
    Heard hear(const std::string &audio, size_t chunkBytes, int pauseMs = 300)
    {
        detector->start(pauseMs);
        detector->feed(audio + silence(1000), chunkBytes);
        detector->stop();
        return detector->take();
    }

    std::unique_ptr<Detector> detector;
};

INSTANTIATE_TEST_SUITE_P(Engines, AnyDetector, testing::Values(kSilero, kWebrtc),
                         [](const testing::TestParamInfo<Engine> &engine) {
                             return engine.index == 0 ? "Silero" : "Webrtc";
                         });

TEST_P(AnyDetector, CommandBeginsAndEndsWherePeopleHearIt)
{
    Heard heard = hear(recordings::load(kCommand), 640);
    ASSERT_EQ(heard.statuses.size(), 2U);
    EXPECT_EQ(heard.statuses[0].status, kBegin);
    EXPECT_NEAR(ms(heard.statuses[0].offset), kCommandBeginMs, kToleranceMs);
    EXPECT_LE(ms(heard.statuses[0].offset), kCommandBeginMs) << "its first sound is cut off";
    EXPECT_EQ(heard.statuses[1].status, kEnd);
    EXPECT_NEAR(ms(heard.statuses[1].offset) - 300, kCommandEndMs, kToleranceMs);
}

TEST_P(AnyDetector, SpeechIsPassedOnBetweenTheStatusesWithWhatCameShortlyBefore)
{
    constexpr size_t kPreRollBytes = 200 * kBytesPerMs;
    std::string audio = recordings::load(kCommand) + silence(1000);
    Heard heard = hear(recordings::load(kCommand), 640);
    ASSERT_EQ(heard.statuses.size(), 2U);
    EXPECT_EQ(heard.statuses[0].passedBefore, 0U);
    EXPECT_EQ(heard.statuses[1].passedBefore, heard.speech.size());
    size_t begin = static_cast<size_t>(heard.statuses[0].offset) - kPreRollBytes;
    EXPECT_EQ(heard.speech, audio.substr(begin, heard.speech.size()));
    EXPECT_GE(begin + heard.speech.size(), static_cast<size_t>(heard.statuses[1].offset));
}

TEST_P(AnyDetector, CuttingOfTheAudioIntoCallsChangesNothing)
{
    std::string audio = recordings::load("numbers.raw");
    Heard expected = hear(audio, 640);
    ASSERT_EQ(expected.statuses.size(), 2U);
    for (size_t chunkBytes : {1UL, 31UL, 1024UL, 3200UL, 1000000UL})
        EXPECT_TRUE(hear(audio, chunkBytes) == expected) << chunkBytes;
}

TEST_P(AnyDetector, SpeechEndsAfterThePauseThatTheStartAsksFor)
{
    std::string words = recordings::load(kCommand);
    std::string both = words + silence(400) + words;
    EXPECT_EQ(hear(both, 640, 300).statuses.size(), 4U);
    Heard patient = hear(both, 640, 1900);
    ASSERT_EQ(patient.statuses.size(), 1U) << "the audio ends before the pause does";
    EXPECT_EQ(patient.statuses[0].status, kBegin);
}

TEST_P(AnyDetector, UtterancesFollowEachOtherWithoutARestart)
{
    std::string words = recordings::load(kCommand);
    Heard heard = hear(words + silence(2000) + words, 640);
    ASSERT_EQ(heard.statuses.size(), 4U);
    EXPECT_EQ(heard.statuses[2].status, kBegin);
    EXPECT_GT(heard.statuses[2].offset, heard.statuses[1].offset);
    int secondMs = ms(static_cast<int64_t>(words.size())) + 2000;
    EXPECT_NEAR(ms(heard.statuses[2].offset), secondMs + kCommandBeginMs, kToleranceMs);
}

TEST_P(AnyDetector, StopDuringSpeechSaysNothingAndAStartForgetsIt)
{
    std::string words = recordings::load(kCommand);
    Heard expected = hear(words, 640);
    detector->start(300);
    detector->feed(words.substr(0, 1000 * kBytesPerMs));
    Heard cut = detector->take();
    ASSERT_EQ(cut.statuses.size(), 1U);
    detector->stop();
    EXPECT_TRUE(detector->take() == Heard{});
    EXPECT_NE(ostrel_vad_feed(detector->handle(), words.data(), 640), 0) << "not started";
    EXPECT_TRUE(hear(words, 640) == expected);
}

TEST_P(AnyDetector, SilenceAndFaintNoiseAreNoSpeech)
{
    EXPECT_TRUE(hear(recordings::noise(5000, 64), 640) == Heard{});
    EXPECT_TRUE(hear(silence(3000), 640) == Heard{});
}

TEST_P(AnyDetector, HandlesOnDifferentThreadsDoNotDisturbEachOther)
{
    std::string words = recordings::load(kCommand);
    std::string numbers = recordings::load("numbers.raw");
    Heard expectedWords = hear(words, 640);
    Heard expectedNumbers = hear(numbers, 640);
    Heard heardNumbers;
    std::thread other{[&] {
        Detector own{GetParam().configuration};
        own.start(300);
        own.feed(numbers + silence(1000));
        heardNumbers = own.take();
    }};
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(hear(words, 640) == expectedWords);
    other.join();
    EXPECT_TRUE(heardNumbers == expectedNumbers);
}

class LoadedLibrary : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(ostrel_library_load(R"({"logEnable":false})"), 0); }
    void TearDown() override { ostrel_library_release(); }
};

TEST_F(LoadedLibrary, LongestUtteranceIsCutAndTheNextOneFollowsIt)
{
    Detector detector{R"({"maxSpeech":1000})"};
    ASSERT_NE(detector.handle(), nullptr);
    detector.start(300);
    detector.feed(recordings::load("librivox/sense_and_sensibility_01_austen_64kb-0870.wav"));
    Heard heard = detector.take();
    ASSERT_GE(heard.statuses.size(), 4U);
    for (size_t i = 0; i + 1 < heard.statuses.size(); i += 2) {
        EXPECT_EQ(heard.statuses[i].status, kBegin);
        EXPECT_EQ(heard.statuses[i + 1].status, kEnd);
        EXPECT_LE(heard.statuses[i + 1].offset - heard.statuses[i].offset, 1100 * kBytesPerMs);
        if (i > 0) {
            EXPECT_GE(heard.statuses[i].offset, heard.statuses[i - 1].offset);
        }
    }
    // Nothing is passed on twice.
    EXPECT_LE(heard.speech.size(), static_cast<size_t>(heard.statuses.back().offset) + 32000);
}

TEST_F(LoadedLibrary, PreRollAndMarginAreConfigured)
{
    std::string words = recordings::load(kCommand);
    auto passed = [&](const char *configuration) {
        Detector detector{configuration};
        detector.start(300);
        detector.feed(words + silence(1000));
        return detector.take().speech.size();
    };
    size_t none = passed(R"({"preRoll":0})");
    EXPECT_EQ(passed(R"({"preRoll":100})"), none + 100 * kBytesPerMs);
    EXPECT_EQ(passed(R"({"preRoll":"much"})"), none + 200 * kBytesPerMs) << "not a number: default";
    EXPECT_EQ(passed(R"({"preRoll":0,"beginMargin":90})"), none + 50 * kBytesPerMs);
}

TEST_F(LoadedLibrary, UselessConfigurationsAndCallsAreRefused)
{
    auto callback = [](void *, int32_t, const void *, int32_t) -> int32_t { return 0; };
    EXPECT_EQ(ostrel_vad_new(nullptr, callback, nullptr), nullptr);
    EXPECT_EQ(ostrel_vad_new("vad", callback, nullptr), nullptr);
    EXPECT_EQ(ostrel_vad_new(R"({"engine":"other"})", callback, nullptr), nullptr);
    EXPECT_EQ(ostrel_vad_new("{}", nullptr, nullptr), nullptr);
    EXPECT_NE(ostrel_vad_start(nullptr, nullptr), 0);
    EXPECT_NE(ostrel_vad_feed(nullptr, "", 0), 0);
    EXPECT_NE(ostrel_vad_stop(nullptr), 0);
    EXPECT_NE(ostrel_vad_delete(nullptr), 0);
    Detector detector{"{}"};
    detector.start(300);
    EXPECT_NE(ostrel_vad_feed(detector.handle(), nullptr, 640), 0);
    EXPECT_NE(ostrel_vad_feed(detector.handle(), "", -1), 0);
    EXPECT_EQ(ostrel_vad_feed(detector.handle(), nullptr, 0), 0);
}

TEST(UnloadedLibrary, MakesNoDetector)
{
    Detector detector{"{}"};
    EXPECT_EQ(detector.handle(), nullptr);
}

TEST(MissingRuntime, LeavesTheDetectorThatNeedsNoModel)
{
    if (!kWebrtc.built) GTEST_SKIP() << "this build has no other detector";
    ASSERT_EQ(ostrel_library_load(R"({"logEnable":false,"onnxRuntime":""})"), 0);
    {
        Detector forced{kSilero.configuration};
        EXPECT_EQ(forced.handle(), nullptr);
        Detector best{"{}"};
        EXPECT_NE(best.handle(), nullptr);
    }
    ostrel_library_release();
}

} // namespace
