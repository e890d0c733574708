// The cepstra of a whole utterance, freed of what the recording adds to them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <sphinxbase/fe.h>
#include <vector>

namespace vantel::ostrel
{

// A frame every 10 ms, each a row of `size` values, of which the first tells the loudness.
struct Cepstra {
    size_t size = 0;
    std::vector<mfcc_t> values;

    size_t count() const { return size == 0 ? 0 : values.size() / size; }
    std::span<mfcc_t> frame(size_t at) { return {&values[at * size], size}; }
};

// What the front end makes of the samples, on its own of all earlier ones.
Cepstra cepstraOf(fe_t *frontEnd, std::span<const int16_t> samples);

// Takes the mean of all frames off each of them.
void subtractMean(Cepstra *cepstra);

// The same with a mean that does not depend on how much silence is around the words, nor much on
// which few words they are. `usualMean` is that of the acoustic model.
void subtractSpeechMean(Cepstra *cepstra, std::span<const mfcc_t> usualMean);

} // namespace vantel::ostrel
