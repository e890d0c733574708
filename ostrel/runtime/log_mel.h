// The spectrum of speech as the verifier's model wants it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vantel::ostrel
{

constexpr size_t kMelBands = 80;
constexpr size_t kMelFrames = 3000; // of 10 ms: 30 seconds, always

// kMelBands rows of kMelFrames values, about -1 to 1: the decimal logarithm of the energy in bands
// of the mel scale, at most 8 below the greatest one, then moved and scaled. What is missing to 30
// seconds is silence, what is more is left out.
std::vector<float> logMel(const int16_t *samples, size_t count);

} // namespace vantel::ostrel
