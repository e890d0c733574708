#include "third/snr/snr.h"

#include "tests/support/pcm.h"

#include <gtest/gtest.h>

using vantel::snr;

namespace
{

// Of samples at odd addresses, which a host may hand over.
float ratioOf(const std::string &signal, const std::string &background)
{
    const std::string shifted = "x" + signal;
    const int32_t signals = static_cast<int32_t>(signal.size() / 2);
    const int32_t backgrounds = static_cast<int32_t>(background.size() / 2);
    float ratio = -1000.0F;
    EXPECT_EQ(snr(shifted.data() + 1, signals, background.data(), backgrounds, &ratio), 0);
    return ratio;
}

// The expected values come from a step-by-step evaluation in 32-bit float outside this program.
TEST(Snr, IsTheSameToTheLastBitEverywhere)
{
    EXPECT_EQ(ratioOf(noise(50001, 12000, 3), noise(30001, 321, 4)), 0x1.eeccfp+4F);
    EXPECT_EQ(ratioOf(noise(160000, 32767, 5), noise(160000, 40, 6)), 0x1.d11facp+5F);
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
