// The signal-to-noise ratio of two stretches of audio.
#pragma once

#include <cstdint>

namespace vantel
{

// Compares the mean absolute deviation of two runs of signed 16-bit samples (the machine's byte
// order, any alignment); counts are in samples. 0 with the ratio in decibels, or -1, logged, with
// ratio 0 when either run is empty or has no deviation at all. Sums run in 32-bit float in the
// order of the samples, so that the ratio is the same to the last bit on every machine.
int32_t snr(const void *signal, int32_t signalCount, const void *noise, int32_t noiseCount,
            float *ratio);

} // namespace vantel
