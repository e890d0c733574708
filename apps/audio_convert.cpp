#include "apps/audio_convert.h"

#include <algorithm>
#include <cmath>

namespace vantel::app
{

bool appendMono(SNDFILE *file, int channels, size_t frames, std::vector<float> *mono)
{
    const size_t count = static_cast<size_t>(channels);
    std::vector<float> block(frames * count);
    const sf_count_t read = sf_readf_float(file, block.data(), static_cast<sf_count_t>(frames));
    for (size_t frame = 0; frame < static_cast<size_t>(std::max<sf_count_t>(read, 0)); ++frame) {
        float sum = 0;
        for (size_t channel = 0; channel < count; ++channel)
            sum += block[frame * count + channel];
        mono->push_back(sum / static_cast<float>(channels));
    }
    return read > 0;
}

std::vector<int16_t> toSamples(const std::vector<float> &mono)
{
    std::vector<int16_t> samples(mono.size());
    std::transform(mono.begin(), mono.end(), samples.begin(), [](float value) {
        return static_cast<int16_t>(std::lrint(std::clamp(value, -1.0F, 1.0F) * 32767.0F));
    });
    return samples;
}

} // namespace vantel::app
