#include "ostrel/asr/cepstra.h"

#include <algorithm>

namespace vantel::ostrel
{
namespace
{

// Found with bench/accuracy, clean and at 20 dB. Speech is so much louder than the mean, or, where
// that is less, by such a share of what it is above the quiet frames: noise alone has little of it.
constexpr double kLoudness = 12;
constexpr double kContrastShare = 0.7;
// Quiet frames count as so many for each loud one, at most, and the model's mean as so many frames.
constexpr double kQuietShare = 0.5;
constexpr double kUsualFrames = 30;

void subtract(Cepstra *cepstra, std::span<const double> mean)
{
    for (size_t i = 0; i < cepstra->count(); ++i) {
        std::span<mfcc_t> frame = cepstra->frame(i);
        for (size_t k = 0; k < frame.size(); ++k)
            frame[k] -= static_cast<mfcc_t>(mean[k]);
    }
}

// Halfway between the quietest and the loudest twentieth of the frames.
mfcc_t loudnessOfSpeech(Cepstra *cepstra)
{
    std::vector<mfcc_t> loudness;
    for (size_t i = 0; i < cepstra->count(); ++i)
        loudness.push_back(cepstra->frame(i)[0]);
    std::sort(loudness.begin(), loudness.end());
    const size_t twentieth = loudness.size() / 20;
    return (loudness[twentieth] + loudness[loudness.size() - 1 - twentieth]) / 2;
}

// Frames of one kind, summed up.
struct Sum {
    std::vector<double> values;
    double frames = 0;

    void add(std::span<const mfcc_t> frame)
    {
        values.resize(frame.size());
        for (size_t k = 0; k < frame.size(); ++k)
            values[k] += frame[k];
        frames++;
    }
};

} // namespace

Cepstra cepstraOf(fe_t *frontEnd, std::span<const int16_t> samples)
{
    Cepstra cepstra;
    cepstra.size = static_cast<size_t>(fe_get_output_size(frontEnd));
    fe_start_stream(frontEnd);
    fe_start_utt(frontEnd);
    const int16 *at = samples.data();
    size_t left = samples.size();
    int32 count = 0;
    fe_process_frames(frontEnd, nullptr, &left, nullptr, &count, nullptr);
    count += 1; // what is less than a frame at the end
    cepstra.values.resize(static_cast<size_t>(count) * cepstra.size);
    std::vector<mfcc_t *> rows;
    for (size_t i = 0; i < static_cast<size_t>(count); ++i)
        rows.push_back(cepstra.frame(i).data());
    int32 made = count;
    fe_process_frames(frontEnd, &at, &left, rows.data(), &made, nullptr);
    int32 last = 0;
    if (made < count) fe_end_utt(frontEnd, rows[static_cast<size_t>(made)], &last);
    cepstra.values.resize(static_cast<size_t>(made + last) * cepstra.size);
    return cepstra;
}

void subtractMean(Cepstra *cepstra)
{
    if (cepstra->count() == 0) return;
    Sum all;
    for (size_t i = 0; i < cepstra->count(); ++i)
        all.add(cepstra->frame(i));
    for (double &value : all.values)
        value /= all.frames;
    subtract(cepstra, all.values);
}

// The loudness is set by that of the speech alone: its mean over an utterance would fall with
// every further frame of silence, and rise with noise. The other values are a mean of as much
// silence as the model was trained with, drawn to the model's own mean, since one word alone is
// far from a mean of speech.
void subtractSpeechMean(Cepstra *cepstra, std::span<const mfcc_t> usualMean)
{
    if (cepstra->count() == 0 || usualMean.size() != cepstra->size) return subtractMean(cepstra);
    const mfcc_t speech = loudnessOfSpeech(cepstra);
    Sum loud;
    Sum quiet;
    for (size_t i = 0; i < cepstra->count(); ++i) {
        std::span<const mfcc_t> frame = cepstra->frame(i);
        (frame[0] >= speech ? loud : quiet).add(frame);
    }
    quiet.values.resize(cepstra->size);
    const double weight =
        quiet.frames > 0 ? std::min(1.0, kQuietShare * loud.frames / quiet.frames) : 0;
    std::vector<double> mean(cepstra->size);
    for (size_t k = 0; k < mean.size(); ++k) {
        const double sum = loud.values[k] + weight * quiet.values[k] + kUsualFrames * usualMean[k];
        mean[k] = sum / (loud.frames + weight * quiet.frames + kUsualFrames);
    }
    const double contrast =
        quiet.frames > 0 ? loud.values[0] / loud.frames - quiet.values[0] / quiet.frames : 0;
    mean[0] = loud.values[0] / loud.frames - std::min(kLoudness, kContrastShare * contrast);
    subtract(cepstra, mean);
}

} // namespace vantel::ostrel
