// From a sound file's samples to the tool's: one channel, 16 bits.
#pragma once

#include "apps/audio_source.h"

#include <sndfile.h>

namespace vantel::app
{

struct CloseSound {
    void operator()(SNDFILE *file) const { sf_close(file); }
};
using Sound = std::unique_ptr<SNDFILE, CloseSound>;

// Appends up to so many frames, the mean of their channels. False at the end of the file.
bool appendMono(SNDFILE *file, int channels, size_t frames, std::vector<float> *mono);

std::vector<int16_t> toSamples(const std::vector<float> &mono);

} // namespace vantel::app
