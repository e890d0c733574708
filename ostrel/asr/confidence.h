// How sure a grammar's result is: its fit beside that of any phones, on the scale of its model.
#pragma once

#include "ostrel/asr/asr_options.h"
#include "ostrel/asr/decoder.h"

namespace vantel::ostrel
{

// How much better the grammar's words fit than phones in any order: A and W of the scale.
struct Fit {
    double all = 0;
    double words = 0;
};

Fit measureFit(std::span<const Segment> words, std::span<const Segment> phones);

// `agrees`: free speech has heard the same words.
double confidenceOf(const ConfidenceScale &scale, const Fit &fit, bool agrees);

// Whether a confidence is neither low nor high enough to do without the verifier.
bool isUnsure(double confidence);

// For a score of the verifier.
double verifiedConfidence(double score);

} // namespace vantel::ostrel
