#include "third/snr/snr.h"

#include "tests/support/bench.h"
#include "tests/support/pcm.h"

#include <cmath>
#include <gtest/gtest.h>

using vantel::snr;

namespace
{

int32_t sampleCount(const std::string &pcm)
{
    return static_cast<int32_t>(pcm.size() / 2);
}

float ratioOf(const std::string &signal, const std::string &background)
{
    float ratio = -1000.0F;
    EXPECT_EQ(
        snr(signal.data(), sampleCount(signal), background.data(), sampleCount(background), &ratio),
        0);
    return ratio;
}

double exactLevel(const std::string &pcm)
{
    std::vector<double> samples;
    for (size_t i = 0; i + 1 < pcm.size(); i += 2) {
        const int low = static_cast<unsigned char>(pcm[i]);
        const int high = static_cast<signed char>(pcm[i + 1]);
        samples.push_back(high * 256 + low);
    }
    double mean = 0;
    for (double sample : samples)
        mean += sample / static_cast<double>(samples.size());
    double deviation = 0;
    for (double sample : samples)
        deviation += std::abs(sample - mean) / static_cast<double>(samples.size());
    return deviation;
}

double exactRatio(const std::string &signal, const std::string &background)
{
    return 20 * std::log10(exactLevel(signal) / exactLevel(background));
}

// Of the float sums over ten seconds, against sums in double.
constexpr double kToleranceDb = 0.001;

TEST(Snr, AgreesWithDoublePrecisionOnGeneratedAudio)
{
    for (int32_t samples : {1000, 16000, 160000}) {
        const std::string signal = noise(samples, 9000, 7);
        const std::string background = noise(samples / 2, 150, 8);
        EXPECT_NEAR(ratioOf(signal, background), exactRatio(signal, background), kToleranceDb)
            << samples;
    }
}

TEST(Snr, AgreesWithDoublePrecisionOnRecordings)
{
    const std::string folder = "/usr/share/pocketsphinx/test/data/";
    if (readFile(folder + "goforward.raw").empty()) {
        GTEST_SKIP() << "the speech test recordings are not installed";
    }
    for (const char *name : {"goforward.raw", "numbers.raw", "something.raw"}) {
        const std::string recording = readFile(folder + name);
        ASSERT_GT(recording.size(), 40000U) << name;
        // The recordings open with some quiet.
        const std::string quiet = recording.substr(0, 6000);
        const std::string rest = recording.substr(6000);
        EXPECT_NEAR(ratioOf(rest, quiet), exactRatio(rest, quiet), kToleranceDb) << name;
        EXPECT_GT(ratioOf(rest, quiet), 3.0F) << name;
    }
}

// The expected values come from a step-by-step evaluation in 32-bit float outside this program.
TEST(Snr, IsTheSameToTheLastBitEverywhere)
{
    EXPECT_EQ(ratioOf(noise(50001, 12000, 3), noise(30001, 321, 4)), 0x1.eeccfp+4F);
    EXPECT_EQ(ratioOf(noise(160000, 32767, 5), noise(160000, 40, 6)), 0x1.d11facp+5F);
}

TEST(Snr, OddAddressesGiveTheSameRatio)
{
    const std::string signal = noise(4001, 5000);
    const std::string background = noise(4001, 50);
    const std::string shifted = "x" + signal;
    float ratio = 0;
    EXPECT_EQ(snr(shifted.data() + 1, 4001, background.data(), 4001, &ratio), 0);
    EXPECT_EQ(ratio, ratioOf(signal, background));
}

TEST(Snr, NothingToCompareFailsWithRatioZero)
{
    const std::string sound = noise(100, 1000);
    const std::string constant(200, '\x11');
    auto fails = [](const void *signal, int32_t signals, const void *background,
                    int32_t backgrounds) {
        float ratio = 5;
        return snr(signal, signals, background, backgrounds, &ratio) == -1 && ratio == 0.0F;
    };
    EXPECT_TRUE(fails(nullptr, 100, sound.data(), 100));
    EXPECT_TRUE(fails(sound.data(), 100, nullptr, 100));
    EXPECT_TRUE(fails(sound.data(), 0, sound.data(), 100));
    EXPECT_TRUE(fails(sound.data(), 100, sound.data(), 0));
    EXPECT_TRUE(fails(constant.data(), 100, sound.data(), 100));
    EXPECT_TRUE(fails(sound.data(), 100, constant.data(), 100));
    EXPECT_TRUE(fails(sound.data(), 1, sound.data(), 100)) << "one sample has no deviation";
}

} // namespace
