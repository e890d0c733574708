#include "third/snr/snr.h"

#include "tests/support/pcm.h"

#include <cmath>
#include <gtest/gtest.h>
#include <numeric>
#include <vector>

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

// The mean deviation from the mean, in double.
double exactLevel(const std::string &pcm)
{
    std::vector<double> samples;
    for (size_t i = 0; i < pcm.size(); i += 2) {
        const int low = static_cast<unsigned char>(pcm[i]);
        samples.push_back(static_cast<signed char>(pcm[i + 1]) * 256 + low);
    }
    const double count = static_cast<double>(samples.size());
    const double mean = std::accumulate(samples.begin(), samples.end(), 0.0) / count;
    double deviation = 0;
    for (double sample : samples)
        deviation += std::abs(sample - mean) / count;
    return deviation;
}

// Of the float sums over ten seconds, against sums in double.
constexpr double kToleranceDb = 0.001;

TEST(Snr, AgreesWithDoublePrecisionOnGeneratedAudio)
{
    for (int32_t samples : {1000, 16000, 160000}) {
        const std::string signal = noise(samples, 9000, 7);
        const std::string background = noise(samples / 2, 150, 8);
        const double exact = 20 * std::log10(exactLevel(signal) / exactLevel(background));
        EXPECT_NEAR(ratioOf(signal, background), exact, kToleranceDb) << samples;
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
    const struct {
        const char *signal;
        int32_t signals;
        const char *background;
        int32_t backgrounds;
    } cases[] = {
        {nullptr, 100, sound.data(), 100},         {sound.data(), 100, nullptr, 100},
        {sound.data(), 0, sound.data(), 100},      {sound.data(), 100, sound.data(), 0},
        {constant.data(), 100, sound.data(), 100}, {sound.data(), 100, constant.data(), 100},
        {sound.data(), 1, sound.data(), 100}, // one sample has no deviation
    };
    for (const auto &[signal, signals, background, backgrounds] : cases) {
        float ratio = 5;
        EXPECT_EQ(snr(signal, signals, background, backgrounds, &ratio), -1);
        EXPECT_EQ(ratio, 0.0F);
    }
}

} // namespace
