#include "bench/rooms.h"

#include <random>

namespace bench
{
namespace
{

constexpr size_t kTail = static_cast<size_t>(1000) * kSamplesPerMs;

// A stretch from anywhere in one of the recordings, begun anew where it ends.
std::vector<double> stretch(std::span<const Samples> recordings, size_t count, std::mt19937 *random)
{
    const Samples &recording = recordings[(*random)() % recordings.size()];
    std::vector<double> noise(count);
    size_t at = (*random)() % recording.size();
    for (double &sample : noise) {
        sample = recording[at];
        if (++at == recording.size()) at = 0;
    }
    return noise;
}

// Six voices, each begun anywhere in a recording and carried on with the next.
std::vector<double> babble(const Clip &clip, std::span<const Clip> voices, size_t count,
                           std::mt19937 *random)
{
    constexpr int kVoices = 6;
    std::vector<double> noise(count);
    for (int voice = 0; voice < kVoices; ++voice) {
        size_t next = (*random)() % voices.size();
        size_t at = (*random)() % voices[next].samples.size();
        for (size_t i = 0; i < count;) {
            const Clip &other = voices[next];
            if (&other != &clip) {
                const double gain = 1 / std::sqrt(other.activePower);
                for (; i < count && at < other.samples.size(); ++i, ++at)
                    noise[i] += gain * other.samples[at];
            }
            next = (next + 1) % voices.size();
            at = 0;
        }
    }
    return noise;
}

// The direct sound and an echo as strong, which takes half a second to fall by 60 dB: pulses of
// either sign, sparse enough to be summed one by one and too dense to be heard apart.
Samples echoing(const Samples &dry, std::mt19937 *random)
{
    constexpr double kFallSeconds = 0.5;
    constexpr double kRate = 1000.0 * kSamplesPerMs;
    constexpr size_t kLength = 9600;
    constexpr size_t kSpacing = 8;
    constexpr size_t kFirst = 80; // 5 ms
    struct Pulse {
        size_t delay;
        double gain;
    };
    std::vector<Pulse> pulses;
    double power = 0;
    for (size_t at = kFirst; at < kLength; at += kSpacing) {
        const size_t delay = at + (*random)() % kSpacing;
        const double decay = std::pow(10, -3 * static_cast<double>(delay) / (kRate * kFallSeconds));
        pulses.push_back({delay, (*random)() % 2 == 0 ? decay : -decay});
        power += decay * decay;
    }
    std::vector<double> wet(dry.begin(), dry.end());
    for (const Pulse &pulse : pulses) {
        const double gain = pulse.gain / std::sqrt(power);
        for (size_t i = pulse.delay; i < wet.size(); ++i)
            wet[i] += gain * dry[i - pulse.delay];
    }
    // Twice the power: back to the level of the direct sound, so that nothing is clipped.
    Samples result(wet.size());
    std::transform(wet.begin(), wet.end(), result.begin(),
                   [](double sample) { return clipped(sample * std::sqrt(0.5)); });
    return result;
}

void addNoise(Samples *audio, const std::vector<double> &noise, double wantedPower)
{
    const double factor = std::sqrt(wantedPower / std::max(power(noise), 1e-9));
    for (size_t i = 0; i < audio->size(); ++i)
        (*audio)[i] = clipped((*audio)[i] + factor * noise[i]);
}

} // namespace

Clip makeClip(const std::string &file, const std::string &label)
{
    constexpr size_t kFrame = static_cast<size_t>(20) * kSamplesPerMs;
    constexpr double kBelowLoudest = 316.2; // 25 dB
    Clip clip{file, label, readSamples(file)};
    std::vector<double> powers;
    for (size_t at = 0; at + kFrame <= clip.samples.size(); at += kFrame)
        powers.push_back(power(std::span{clip.samples}.subspan(at, kFrame)));
    if (powers.empty()) return clip;
    const double least = *std::max_element(powers.begin(), powers.end()) / kBelowLoudest;
    double sum = 0;
    int active = 0;
    for (size_t i = 0; i < powers.size(); ++i) {
        if (powers[i] < least) continue;
        sum += powers[i];
        ++active;
        clip.endMs = static_cast<int>((i + 1) * kFrame) / kSamplesPerMs;
    }
    clip.activePower = sum / active;
    return clip;
}

bool hasSounds(const Backgrounds &backgrounds, std::span<const Clip> voices, Room room)
{
    return !(room == Room::kitchen && backgrounds.kitchen.empty()) &&
           !(room == Room::music && backgrounds.music.empty()) &&
           !(room == Room::babble && voices.size() < 2);
}

Samples inRoom(const Clip &clip, const Condition &condition, const Backgrounds &backgrounds,
               std::span<const Clip> voices, unsigned seed)
{
    std::mt19937 random{seed};
    Samples audio = clip.samples;
    // Silence of a converter, not of nothing.
    while (audio.size() < clip.samples.size() + kTail)
        audio.push_back(static_cast<int16_t>(static_cast<int>(random() % 3) - 1));
    const double wanted = clip.activePower / std::pow(10, condition.snr / 10);
    auto mixed = [&](const std::vector<double> &noise) {
        addNoise(&audio, noise, wanted);
        return audio;
    };
    switch (condition.room) {
    case Room::quiet:
        return audio;
    case Room::kitchen:
        return mixed(stretch(backgrounds.kitchen, audio.size(), &random));
    case Room::music:
        return mixed(stretch(backgrounds.music, audio.size(), &random));
    case Room::pink:
        return mixed(pinkNoise(audio.size(), seed));
    case Room::babble:
        return mixed(babble(clip, voices, audio.size(), &random));
    case Room::reverb:
        return echoing(audio, &random);
    }
    return {};
}

} // namespace bench
