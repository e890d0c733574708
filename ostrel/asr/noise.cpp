#include "ostrel/asr/noise.h"

#include <algorithm>
#include <cmath>

namespace vantel::ostrel
{

int32_t noiseUnder(std::span<const int16_t> audio)
{
    constexpr double kPeakToLevel = 0.025;
    double sum = 0;
    for (int16_t sample : audio)
        sum += static_cast<double>(sample) * sample;
    const double level = std::sqrt(sum / static_cast<double>(std::max<size_t>(audio.size(), 1)));
    return std::max(kWeakNoise, static_cast<int32_t>(kPeakToLevel * level));
}

std::vector<int16_t> withNoise(std::span<const int16_t> audio, int32_t peak, size_t margin)
{
    std::vector<int16_t> result(margin + audio.size() + margin);
    std::copy(audio.begin(), audio.end(), result.begin() + static_cast<ptrdiff_t>(margin));
    const auto range = static_cast<uint32_t>(2 * peak + 1);
    uint32_t state = 1;
    for (int16_t &sample : result) {
        state = state * 1664525U + 1013904223U;
        auto noise = static_cast<int32_t>((state >> 16) % range) - peak;
        sample = static_cast<int16_t>(std::clamp(sample + noise, -32768, 32767));
    }
    return result;
}

} // namespace vantel::ostrel
