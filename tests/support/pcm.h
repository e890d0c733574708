// Audio for tests.
#pragma once

#include <cstdint>
#include <string>

// Noise of the same kind on every machine: samples of -amplitude to amplitude, as bytes.
inline std::string noise(int32_t samples, int32_t amplitude, uint32_t seed = 1)
{
    std::string bytes;
    bytes.reserve(static_cast<size_t>(samples) * 2);
    for (int32_t i = 0; i < samples; ++i) {
        seed = seed * 1664525U + 1013904223U;
        const int32_t sample = static_cast<int32_t>(seed >> 16) % (2 * amplitude + 1) - amplitude;
        bytes += static_cast<char>(sample & 0xFF);
        bytes += static_cast<char>((sample >> 8) & 0xFF);
    }
    return bytes;
}
