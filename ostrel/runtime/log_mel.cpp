#include "ostrel/runtime/log_mel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <span>

namespace vantel::ostrel
{
namespace
{

constexpr size_t kWindow = 400; // samples of a frame, 25 ms
constexpr size_t kHop = 160;
constexpr size_t kHalf = kWindow / 2;
constexpr size_t kBins = kHalf + 1;
constexpr double kBinHz = 16000.0 / kWindow;
constexpr double kTop = 8000; // Hz, where the last band ends
constexpr double kLeast = 1e-10;

using Frame = std::array<double, kWindow>;

// The mel scale that is linear below 1000 Hz and logarithmic above (M. Slaney, Auditory Toolbox,
// 1998): 15 mel are 1000 Hz, 27 more are 6.4 times that.
double toMel(double hz)
{
    return hz < 1000 ? hz * 3 / 200 : 15 + 27 * std::log(hz / 1000) / std::log(6.4);
}

double toHz(double mel)
{
    return mel < 15 ? mel * 200 / 3 : 1000 * std::pow(6.4, (mel - 15) / 27);
}

struct Band {
    size_t first = 0; // bin
    std::vector<double> weights{};
};

// Everything that depends on no audio.
struct Tables {
    Frame window{};
    std::array<double, kWindow> cosine{};
    std::array<double, kWindow> sine{};
    std::array<Band, kMelBands> bands{};

    Tables()
    {
        for (size_t i = 0; i < kWindow; ++i) {
            const double angle = 2 * std::numbers::pi * static_cast<double>(i) / kWindow;
            window[i] = 0.5 - 0.5 * std::cos(angle);
            cosine[i] = std::cos(angle);
            sine[i] = std::sin(angle);
        }
        for (size_t band = 0; band < kMelBands; ++band)
            bands[band] = triangle(band);
    }

    // Rises from the band below to its own middle and falls to the band above; of the same area
    // for every band.
    static Band triangle(size_t band)
    {
        auto edge = [&](size_t number) {
            return toHz(toMel(kTop) * static_cast<double>(band + number) / (kMelBands + 1));
        };
        Band made;
        for (size_t bin = 0; bin < kBins; ++bin) {
            const double hz = static_cast<double>(bin) * kBinHz;
            const double weight = std::min((hz - edge(0)) / (edge(1) - edge(0)),
                                           (edge(2) - hz) / (edge(2) - edge(1)));
            if (weight <= 0) continue;
            if (made.weights.empty()) made.first = bin;
            made.weights.push_back(weight * 2 / (edge(2) - edge(0)));
        }
        return made;
    }
};

// The frame around sample `at`; before the beginning the audio is mirrored, behind its end silent.
Frame windowed(const Tables &tables, std::span<const int16_t> audio, size_t at)
{
    Frame frame;
    for (size_t i = 0; i < kWindow; ++i) {
        const size_t from = at + i < kHalf ? kHalf - at - i : at + i - kHalf;
        frame[i] = from < audio.size() ? audio[from] / 32768.0 * tables.window[i] : 0;
    }
    return frame;
}

// The energy of each bin. The window is no power of two: a plain transform over its folded halves
// costs a small part of what the model does.
std::array<double, kBins> spectrum(const Tables &tables, const Frame &frame)
{
    std::array<double, kHalf> even{};
    std::array<double, kHalf> odd{};
    for (size_t i = 1; i < kHalf; ++i) {
        even[i] = frame[i] + frame[kWindow - i];
        odd[i] = frame[i] - frame[kWindow - i];
    }
    std::array<double, kBins> energy{};
    for (size_t bin = 0; bin < kBins; ++bin) {
        double real = frame[0] + (bin % 2 == 0 ? frame[kHalf] : -frame[kHalf]);
        double imaginary = 0;
        for (size_t i = 1, phase = bin; i < kHalf; ++i) {
            real += even[i] * tables.cosine[phase];
            imaginary += odd[i] * tables.sine[phase];
            phase += bin;
            if (phase >= kWindow) phase -= kWindow;
        }
        energy[bin] = real * real + imaginary * imaginary;
    }
    return energy;
}

} // namespace

std::vector<float> logMel(const int16_t *samples, size_t count)
{
    static const Tables tables;
    const std::span<const int16_t> audio{samples, std::min(count, kMelFrames * kHop)};
    std::vector<float> mel(kMelBands * kMelFrames, static_cast<float>(std::log10(kLeast)));
    // Behind these there is nothing but silence.
    const size_t frames = std::min(kMelFrames, (audio.size() + kHalf) / kHop + 1);
    for (size_t at = 0; at < frames; ++at) {
        const auto energy = spectrum(tables, windowed(tables, audio, at * kHop));
        for (size_t band = 0; band < kMelBands; ++band) {
            const Band &weights = tables.bands[band];
            double sum = 0;
            for (size_t i = 0; i < weights.weights.size(); ++i)
                sum += weights.weights[i] * energy[weights.first + i];
            mel[band * kMelFrames + at] = static_cast<float>(std::log10(std::max(sum, kLeast)));
        }
    }
    const float most = *std::max_element(mel.begin(), mel.end());
    for (float &value : mel)
        value = (std::max(value, most - 8) + 4) / 4;
    return mel;
}

} // namespace vantel::ostrel
