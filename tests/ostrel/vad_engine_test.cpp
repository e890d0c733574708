// The voice activity detector through its C interface, over recordings of people.
#include "tests/ostrel/recordings.h"
#include "tools/json.h"

#include <thread>
#include <vector>

using namespace recordings;

namespace
{

constexpr int64_t kBytesPerMs = 32;

// Where people hear the command begin and end.
constexpr int kCommandBeginMs = 495;
constexpr int kCommandEndMs = 2390;
constexpr int kToleranceMs = 200;

// What came out of a detector; the bytes of speech are counted as they were with each status.
struct Heard {
    std::string statuses; // '1' for a beginning, '2' for an end
    std::vector<int64_t> offsets;
    std::vector<size_t> passedBefore;
    std::string speech;
    std::vector<size_t> toldAt; // bytes fed by then, the telling call's own included
    bool operator==(const Heard &other) const
    {
        return statuses == other.statuses && offsets == other.offsets &&
               passedBefore == other.passedBefore && speech == other.speech;
    }

    int ms(size_t status) const { return static_cast<int>(offsets.at(status) / kBytesPerMs); }
};

// A detector over the engine's C interface; no handle when it could not be made.
class Detector
{
public:
    explicit Detector(const char *configuration)
        : handle_(ostrel_vad_new(configuration, onEvent, this))
    {
    }
    ~Detector() { EXPECT_EQ(ostrel_vad_delete(handle_) == 0, handle_ != nullptr); }
    Detector(const Detector &) = delete;
    Detector &operator=(const Detector &) = delete;

    void start(int pauseMs = 300)
    {
        std::string text = "{\"pauseTime\":" + std::to_string(pauseMs) + "}";
        ASSERT_EQ(ostrel_vad_start(handle_, text.c_str()), 0);
        heard_ = {};
        earlier_ = fed_ = 0;
    }
    // What has come since the start; fed in calls of that many bytes, one at least.
    Heard feed(const std::string &audio, size_t chunkBytes = 640)
    {
        size_t at = 0;
        do {
            const size_t bytes = std::min(chunkBytes, audio.size() - at);
            earlier_ = fed_;
            fed_ += bytes;
            EXPECT_EQ(ostrel_vad_feed(handle_, audio.data() + at, static_cast<int32_t>(bytes)), 0);
            at += bytes;
        } while (at < audio.size());
        return heard_;
    }
    Heard stop()
    {
        earlier_ = fed_;
        EXPECT_EQ(ostrel_vad_stop(handle_), 0);
        return heard_;
    }
    // One turn over the recording and a second of silence.
    Heard hear(const std::string &audio, size_t chunkBytes = 640, int pauseMs = 300)
    {
        start(pauseMs);
        feed(audio + silence(1000), chunkBytes);
        return stop();
    }
    void *handle() const { return handle_; }

private:
    static int32_t onEvent(void *user, int32_t kind, const void *data, int32_t length)
    {
        const Detector *detector = static_cast<Detector *>(user);
        Heard &heard = static_cast<Detector *>(user)->heard_;
        std::string bytes{static_cast<const char *>(data), static_cast<size_t>(length)};
        if (kind != 0) {
            heard.speech += bytes;
            return 0;
        }
        vantel::Json text = vantel::jsonParse(bytes.c_str());
        heard.statuses += std::to_string(vantel::jsonInt(text.get(), "status", -1));
        heard.offsets.push_back(vantel::jsonInt(text.get(), "offset", -1));
        heard.passedBefore.push_back(heard.speech.size());
        heard.toldAt.push_back(detector->fed_);
        // What a caller keeps of earlier calls reaches up to the offset.
        const size_t fed = static_cast<size_t>(vantel::jsonInt(text.get(), "fed", -1));
        EXPECT_EQ(fed, detector->earlier_);
        EXPECT_LE(static_cast<size_t>(heard.offsets.back()), fed);
        return 0;
    }

    Heard heard_;
    size_t earlier_ = 0; // bytes, fed before the call that is under way
    size_t fed_ = 0;
    void *handle_;
};

struct AnyDetector : LoadedEngine, testing::WithParamInterface<std::string> {
    void SetUp() override
    {
        const bool isWebrtc = GetParam() == "webrtc";
        if ((isWebrtc && !HAS_WEBRTC) || (!isWebrtc && !HAS_SILERO))
            GTEST_SKIP() << "this build could not get " << GetParam();
        ASSERT_NE(detector.handle(), nullptr);
    }

    const std::string configuration = R"({"engine":")" + GetParam() + "\"}";
    Detector detector{configuration.c_str()};
    const std::string command = load(kCommand);
    const std::string numbers = load("numbers.raw");
};

INSTANTIATE_TEST_SUITE_P(Engines, AnyDetector, testing::Values("silero", "webrtc"),
                         [](const auto &engine) { return engine.param; });

TEST_P(AnyDetector, CommandBeginsAndEndsWherePeopleHearIt)
{
    Heard heard = detector.hear(command);
    ASSERT_EQ(heard.statuses, "12");
    EXPECT_NEAR(heard.ms(0), kCommandBeginMs, kToleranceMs);
    EXPECT_LE(heard.ms(0), kCommandBeginMs) << "its first sound is cut off";
    EXPECT_NEAR(heard.ms(1) - 300, kCommandEndMs, kToleranceMs);
}

TEST_P(AnyDetector, SpeechIsPassedOnBetweenTheStatusesWithWhatCameShortlyBefore)
{
    Heard heard = detector.hear(command);
    ASSERT_EQ(heard.statuses, "12");
    EXPECT_EQ(heard.passedBefore, (std::vector<size_t>{0, heard.speech.size()}));
    size_t begin = static_cast<size_t>(heard.offsets[0] - 200 * kBytesPerMs);
    EXPECT_EQ(heard.speech, (command + silence(1000)).substr(begin, heard.speech.size()));
    EXPECT_GE(begin + heard.speech.size(), static_cast<size_t>(heard.offsets[1]));
}

TEST_P(AnyDetector, CuttingOfTheAudioIntoCallsChangesNothingButWhenItIsTold)
{
    const std::string audio = command + silence(700) + numbers;
    for (int pauseMs : {300, 500}) {
        const Heard expected = detector.hear(audio, kBytesPerMs, pauseMs);
        ASSERT_EQ(expected.statuses, "1212");
        for (size_t chunkBytes : std::initializer_list<size_t>{1, 320, 639, 640, 1024, 3199, 6400,
                                                               12800, 64000, 1000000}) {
            const Heard heard = detector.hear(audio, chunkBytes, pauseMs);
            EXPECT_TRUE(heard == expected) << chunkBytes;
            for (size_t i = 0; i < heard.statuses.size(); ++i) {
                // The call that brings the audio which decides, or the next when calls are long.
                const size_t soonest = (expected.toldAt[i] + chunkBytes - 1) / chunkBytes;
                const size_t calls = soonest + (chunkBytes > 20 * kBytesPerMs ? 1 : 0);
                EXPECT_LE(heard.toldAt[i], calls * chunkBytes) << chunkBytes;
            }
        }
    }
}

TEST_P(AnyDetector, StopTellsWhatIsKnownButNoBeginningBehindAnEndThatWasTold)
{
    const std::string begun = command.substr(0, 1500 * kBytesPerMs);
    detector.start();
    EXPECT_EQ(detector.feed(command + silence(700) + begun, 1000000).statuses, "");
    EXPECT_EQ(detector.stop().statuses, "121");
    detector.start();
    detector.feed(command + silence(700), 1000000);
    EXPECT_EQ(detector.feed(begun, 1000000).statuses, "12");
    EXPECT_EQ(detector.stop().statuses, "12");
    detector.start();
    detector.feed(command + silence(700), 1000000);
    EXPECT_EQ(detector.feed("").statuses, "12") << "a call without audio is a call as well";
}

TEST_P(AnyDetector, SpeechEndsAfterThePauseThatTheStartAsksFor)
{
    std::string both = command + silence(400) + command;
    EXPECT_EQ(detector.hear(both, 640, 300).statuses, "1212");
    EXPECT_EQ(detector.hear(both, 640, 1900).statuses, "1") << "the audio ends before the pause";
}

TEST_P(AnyDetector, UtterancesFollowEachOtherWithoutARestart)
{
    Heard heard = detector.hear(command + silence(2000) + command);
    ASSERT_EQ(heard.statuses, "1212");
    int secondMs = static_cast<int>(command.size()) / static_cast<int>(kBytesPerMs) + 2000;
    EXPECT_NEAR(heard.ms(2), secondMs + kCommandBeginMs, kToleranceMs);
}

TEST_P(AnyDetector, StopDuringSpeechSaysNothingAndAStartForgetsIt)
{
    Heard expected = detector.hear(command);
    detector.start();
    Heard cut = detector.feed(command.substr(0, 1000 * kBytesPerMs));
    EXPECT_EQ(cut.statuses, "1");
    EXPECT_TRUE(detector.stop() == cut);
    EXPECT_NE(ostrel_vad_feed(detector.handle(), command.data(), 640), 0) << "not started";
    EXPECT_TRUE(detector.hear(command) == expected);
}

TEST_P(AnyDetector, SilenceAndFaintNoiseAreNoSpeech)
{
    EXPECT_TRUE(detector.hear(noise(80000, 64)) == Heard{});
    EXPECT_TRUE(detector.hear(silence(3000)) == Heard{});
}

TEST_P(AnyDetector, HandlesOnDifferentThreadsDoNotDisturbEachOther)
{
    Heard expected[] = {detector.hear(command), detector.hear(numbers)};
    Heard other;
    std::thread thread{[&] { other = Detector{configuration.c_str()}.hear(numbers); }};
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(detector.hear(command) == expected[0]);
    thread.join();
    EXPECT_TRUE(other == expected[1]);
}

using BestDetector = LoadedEngine;

TEST_F(BestDetector, LongestUtteranceIsCutAndTheNextOneFollowsIt)
{
    Detector detector{R"({"maxSpeech":1000})"};
    Heard heard = detector.hear(load("librivox/sense_and_sensibility_01_austen_64kb-0870.wav"));
    ASSERT_GE(heard.statuses.size(), 4U);
    for (size_t i = 0; i < heard.statuses.size(); ++i) {
        EXPECT_EQ(heard.statuses[i], i % 2 ? '2' : '1');
        if (i % 2) {
            EXPECT_LE(heard.ms(i) - heard.ms(i - 1), 1100);
        } else if (i > 0) {
            EXPECT_GE(heard.ms(i), heard.ms(i - 1));
        }
    }
    // Nothing is passed on twice.
    EXPECT_LE(heard.speech.size(), static_cast<size_t>(heard.offsets.back()) + 32000);
}

TEST_F(BestDetector, PreRollAndMarginAreConfigured)
{
    auto passed = [words = load(kCommand)](const char *configuration) {
        return Detector{configuration}.hear(words).speech.size();
    };
    size_t none = passed(R"({"preRoll":0})");
    EXPECT_EQ(passed(R"({"preRoll":100})"), none + 100 * kBytesPerMs);
    EXPECT_EQ(passed(R"({"preRoll":"much"})"), none + 200 * kBytesPerMs) << "not a number: default";
    EXPECT_EQ(passed(R"({"preRoll":0,"beginMargin":90})"), none + 50 * kBytesPerMs);
}

TEST_F(BestDetector, UselessConfigurationsAndCallsAreRefused)
{
    for (const char *bad : {static_cast<const char *>(nullptr), "vad", R"({"engine":"other"})"})
        EXPECT_EQ(Detector{bad}.handle(), nullptr);
    EXPECT_EQ(ostrel_vad_new("{}", nullptr, nullptr), nullptr);
    EXPECT_NE(ostrel_vad_start(nullptr, nullptr), 0);
    EXPECT_NE(ostrel_vad_feed(nullptr, "", 0), 0);
    EXPECT_NE(ostrel_vad_stop(nullptr), 0);
    Detector detector{"{}"};
    detector.start();
    EXPECT_NE(ostrel_vad_feed(detector.handle(), nullptr, 640), 0);
    EXPECT_NE(ostrel_vad_feed(detector.handle(), "", -1), 0);
    EXPECT_EQ(ostrel_vad_feed(detector.handle(), nullptr, 0), 0);
}

TEST(MissingRuntime, LeavesTheDetectorThatNeedsNoModel)
{
    EXPECT_EQ(Detector{"{}"}.handle(), nullptr) << "the library is not loaded";
    if (!HAS_WEBRTC) GTEST_SKIP() << "this build has no other detector";
    ASSERT_EQ(ostrel_library_load(R"({"logEnable":false,"onnxRuntime":""})"), 0);
    EXPECT_EQ(Detector{R"({"engine":"silero"})"}.handle(), nullptr);
    EXPECT_NE(Detector{"{}"}.handle(), nullptr);
    ostrel_library_release();
}

} // namespace
