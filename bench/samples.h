// Recordings and noise for the measurements of accuracy.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench
{

using Samples = std::vector<int16_t>;

// A file of 16 kHz samples without a header; empty when it cannot be read.
Samples readSamples(const std::string &file);

// Noise of the same power at all frequencies.
std::vector<double> whiteNoise(size_t count, unsigned seed);

// Noise whose power falls by 3 dB an octave.
std::vector<double> pinkNoise(size_t count, unsigned seed);

// The mean of the squares.
double power(const auto &samples)
{
    double sum = 0;
    for (double sample : samples)
        sum += sample * sample;
    return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

inline int16_t clipped(double sample)
{
    return static_cast<int16_t>(std::lround(std::clamp(sample, -32768.0, 32767.0)));
}

} // namespace bench
