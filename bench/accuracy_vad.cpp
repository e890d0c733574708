// How well the voice activity detectors find speech: what they miss, what they take for speech, and
// how far from its beginning and end they are.
//
//   accuracy_vad LIST
//
// LIST is the one of bench/accuracy.sh. Where speech begins and ends is taken from the level of the
// clean recording; recordings with a gap inside are left out, as they may well be split. Each is
// set between a second of background and a second and a half of it, in several noises, and fed in
// calls of 20 ms with a pause of 300 ms.
#include "bench/samples.h"
#include "contracts/ostrel.h"
#include "tools/json.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <optional>
#include <sstream>

namespace
{

using bench::Samples;

constexpr int kSamplesPerMs = 16;
constexpr int kPauseMs = 300;
constexpr int kLeadMs = 1000;
constexpr int kTailMs = 1500;

enum class Noise { none, white, pink, babble };

struct Condition {
    const char *name;
    Noise noise;
    double snr; // dB, over the speech
};

constexpr Condition kConditions[] = {
    {"clean", Noise::none, 60},          {"white 20 dB", Noise::white, 20},
    {"white 10 dB", Noise::white, 10},   {"white 5 dB", Noise::white, 5},
    {"pink 20 dB", Noise::pink, 20},     {"pink 10 dB", Noise::pink, 10},
    {"pink 5 dB", Noise::pink, 5},       {"babble 20 dB", Noise::babble, 20},
    {"babble 10 dB", Noise::babble, 10},
};

struct Engine {
    const char *name;
    const char *configuration;
};

constexpr Engine kEngines[] = {
    {"silero", R"({"engine":"silero"})"},
    {"webrtc", R"({"engine":"webrtc"})"},
};

struct Utterance {
    Samples samples;
    int beginMs; // where it is heard, from the start of the samples
    int endMs;
};

// The level of each 10 ms, in decibels.
std::vector<double> levels(const Samples &samples)
{
    constexpr size_t kFrame = 10 * kSamplesPerMs;
    std::vector<double> result;
    for (size_t at = 0; at + kFrame <= samples.size(); at += kFrame) {
        auto begin = samples.begin() + static_cast<ptrdiff_t>(at);
        Samples frame(begin, begin + static_cast<ptrdiff_t>(kFrame));
        result.push_back(10 * std::log10(bench::power(frame) + 1));
    }
    return result;
}

// Nothing when there is no speech, or a gap in it that may count as a pause.
std::optional<Utterance> measured(const std::string &file)
{
    constexpr double kBelowLoudest = 32; // dB
    constexpr int kLongestGapMs = 200;
    Utterance utterance{bench::readSamples(file), -1, -1};
    std::vector<double> level = levels(utterance.samples);
    if (level.empty()) return std::nullopt;
    double least = *std::max_element(level.begin(), level.end()) - kBelowLoudest;
    for (size_t i = 0; i < level.size(); ++i) {
        if (level[i] < least) continue;
        int atMs = static_cast<int>(i) * 10;
        if (utterance.beginMs < 0) utterance.beginMs = atMs;
        if (utterance.endMs >= 0 && atMs - utterance.endMs > kLongestGapMs) return std::nullopt;
        utterance.endMs = atMs + 10;
    }
    if (utterance.beginMs < 0) return std::nullopt;
    return utterance;
}

std::vector<double> babble(size_t count, const std::vector<Utterance> &voices, unsigned seed)
{
    constexpr size_t kVoices = 6;
    std::vector<double> noise(count);
    for (size_t voice = 0; voice < kVoices; ++voice) {
        size_t next = seed * 7 + voice * 13;
        // Each voice starts inside a word, so that they do not all begin at once.
        size_t skip = voice * 2000;
        for (size_t i = 0; i < count;) {
            for (int16_t sample : voices[next % voices.size()].samples) {
                if (skip > 0)
                    --skip;
                else if (i < count)
                    noise[i++] += sample;
            }
            ++next;
        }
    }
    return noise;
}

// The utterance inside its background.
Samples scene(const Utterance &utterance, const Condition &condition,
              const std::vector<Utterance> &voices, unsigned seed)
{
    constexpr size_t kLead = static_cast<size_t>(kLeadMs) * kSamplesPerMs;
    const Samples &speech = utterance.samples;
    size_t count = kLead + speech.size() + static_cast<size_t>(kTailMs) * kSamplesPerMs;
    std::vector<double> noise;
    switch (condition.noise) {
    case Noise::babble:
        noise = babble(count, voices, seed);
        break;
    case Noise::pink:
        noise = bench::pinkNoise(count, seed);
        break;
    case Noise::none:
    case Noise::white:
        noise = bench::whiteNoise(count, seed);
        break;
    }
    Samples heard(speech.begin() + utterance.beginMs * kSamplesPerMs,
                  speech.begin() + utterance.endMs * kSamplesPerMs);
    double wanted = bench::power(heard) / std::pow(10, condition.snr / 10);
    double factor = std::sqrt(wanted / std::max(bench::power(noise), 1e-9));
    Samples audio(count);
    for (size_t i = 0; i < count; ++i) {
        bool inSpeech = i >= kLead && i - kLead < speech.size();
        audio[i] = bench::clipped(factor * noise[i] + (inSpeech ? speech[i - kLead] : 0));
    }
    return audio;
}

struct Event {
    int status;
    int atMs;
};

int32_t onEvent(void *user, int32_t kind, const void *data, int32_t length)
{
    if (kind != 0) return 0;
    std::string bytes{static_cast<const char *>(data), static_cast<size_t>(length)};
    vantel::Json text = vantel::jsonParse(bytes.c_str());
    static_cast<std::vector<Event> *>(user)->push_back(
        {vantel::jsonInt(text.get(), "status", 0),
         vantel::jsonInt(text.get(), "offset", 0) / (2 * kSamplesPerMs)});
    return 0;
}

struct Tally {
    int streams = 0;
    int missed = 0;
    int split = 0; // found in more than one piece
    int wrong = 0; // speech found where there is none
    std::vector<int> beginErrorMs;
    std::vector<int> endLatenessMs;
};

void count(const std::vector<Event> &events, const Utterance &utterance, int lengthMs, Tally *tally)
{
    int trueBegin = kLeadMs + utterance.beginMs;
    int trueEnd = kLeadMs + utterance.endMs;
    int pieces = 0;
    int begin = 0;
    int end = lengthMs;
    for (size_t i = 0; i < events.size(); i += 2) {
        bool ended = i + 1 < events.size();
        int pieceEnd = ended ? events[i + 1].atMs - kPauseMs : lengthMs;
        if (pieceEnd <= trueBegin || events[i].atMs >= trueEnd) {
            ++tally->wrong;
            continue;
        }
        if (pieces++ == 0) begin = events[i].atMs;
        end = pieceEnd;
    }
    ++tally->streams;
    if (pieces == 0) ++tally->missed;
    if (pieces > 1) ++tally->split;
    if (pieces == 0) return;
    tally->beginErrorMs.push_back(std::abs(begin - trueBegin));
    tally->endLatenessMs.push_back(end - trueEnd);
}

int percentile(std::vector<int> values, double share)
{
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(share * static_cast<double>(values.size() - 1))];
}

void measure(const Engine &engine, const std::vector<Utterance> &utterances)
{
    std::vector<Event> events;
    void *handle = ostrel_vad_new(engine.configuration, onEvent, &events);
    if (!handle) {
        std::printf("%-8s not here\n", engine.name);
        return;
    }
    double cpuMs = 0;
    double audioSeconds = 0;
    for (const Condition &condition : kConditions) {
        Tally tally;
        unsigned seed = 1;
        for (const Utterance &utterance : utterances) {
            Samples audio = scene(utterance, condition, utterances, seed++);
            constexpr size_t kChunk = 20 * kSamplesPerMs;
            events.clear();
            ostrel_vad_start(handle, "{\"pauseTime\":300}");
            std::clock_t before = std::clock();
            for (size_t at = 0; at < audio.size(); at += kChunk) {
                size_t samples = std::min(kChunk, audio.size() - at);
                ostrel_vad_feed(handle, audio.data() + at, static_cast<int32_t>(samples * 2));
            }
            cpuMs += 1000.0 * static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
            audioSeconds += static_cast<double>(audio.size()) / (1000.0 * kSamplesPerMs);
            ostrel_vad_stop(handle);
            count(events, utterance, static_cast<int>(audio.size()) / kSamplesPerMs, &tally);
        }
        std::printf("%-8s %-13s %7d %6d %5d %5d %7d /%4d %7d /%4d\n", engine.name, condition.name,
                    tally.streams, tally.missed, tally.wrong, tally.split,
                    percentile(tally.beginErrorMs, 0.5), percentile(tally.beginErrorMs, 0.95),
                    percentile(tally.endLatenessMs, 0.5), percentile(tally.endLatenessMs, 0.95));
        std::fflush(stdout);
    }
    std::printf("%-8s CPU %.2f ms a second of audio\n", engine.name, cpuMs / audioSeconds);
    ostrel_vad_delete(handle);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 2 || ostrel_library_load("{}") != 0) {
        std::fprintf(stderr, "usage: accuracy_vad LIST\n");
        return 1;
    }
    std::vector<Utterance> utterances;
    int leftOut = 0;
    std::ifstream list{argv[1]};
    for (std::string line; std::getline(list, line);) {
        if (line.starts_with("!")) continue;
        std::istringstream fields{line};
        std::string group;
        std::string file;
        std::getline(fields, group, '\t');
        std::getline(fields, file, '\t');
        if (auto utterance = measured(file))
            utterances.push_back(std::move(*utterance));
        else
            ++leftOut;
    }
    std::printf("%zu recordings, %d with a gap inside left out\n", utterances.size(), leftOut);
    std::printf(
        "detector noise         streams missed false split  begin p50/p95   end p50/p95 ms\n");
    for (const Engine &engine : kEngines)
        if (!utterances.empty()) measure(engine, utterances);
    ostrel_library_release();
    return utterances.empty() ? 1 : 0;
}
