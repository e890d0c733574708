// The noise that goes under every utterance before it is searched.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vantel::ostrel
{

// The peak of the noise under an utterance whose words belong to the model.
constexpr int32_t kWeakNoise = 10;

// That of one whose words borrow the model. Noise 37 dB below the utterance: Chinese words fit the
// model of another language so badly that the mean of the cepstra decides, and in clean recordings
// silence would pull it far from where the model has it.
int32_t noiseUnder(std::span<const int16_t> audio);

// The utterance with noise of that peak under all of it, the same every time, and with `margin`
// samples of that noise around it. Silence that is none at all, as in recordings that were cleaned
// and in synthetic speech, would weigh more than the words; Chinese words that are cut close fit
// badly.
std::vector<int16_t> withNoise(std::span<const int16_t> audio, int32_t peak, size_t margin);

} // namespace vantel::ostrel
