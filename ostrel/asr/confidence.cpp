#include "ostrel/asr/confidence.h"

#include "ostrel/library.h"

#include <algorithm>
#include <cmath>

#define CONFIDENCE_LOG(level, ...) ENGINE_LOG("ostrel/asr/confidence", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// The score of the frames from first to last, where a segment's score is spread evenly over it.
double scoreBetween(std::span<const Segment> segments, int32_t first, int32_t last)
{
    double sum = 0;
    for (const Segment &segment : segments) {
        int32_t frames = segment.lastFrame - segment.firstFrame + 1;
        int32_t shared =
            std::min(last, segment.lastFrame) - std::max(first, segment.firstFrame) + 1;
        if (frames > 0 && shared > 0) sum += segment.score * shared / frames;
    }
    return sum;
}

} // namespace

Fit measureFit(std::span<const Segment> words, std::span<const Segment> phones)
{
    double allScore = 0;
    double wordScore = 0;
    int32_t allFrames = 0;
    int32_t wordFrames = 0;
    for (const Segment &segment : words) {
        int32_t frames = segment.lastFrame - segment.firstFrame + 1;
        double score = segment.score - scoreBetween(phones, segment.firstFrame, segment.lastFrame);
        if (frames <= 0) continue;
        allScore += score;
        allFrames += frames;
        if (segment.word < 0) continue;
        wordScore += score;
        wordFrames += frames;
    }
    if (wordFrames == 0) return {};
    const Fit fit{allScore / allFrames, wordScore / wordFrames};
    CONFIDENCE_LOG(kDebug, "  fit of all frames %.2f, of the words %.2f\n", fit.all, fit.words);
    return fit;
}

double confidenceOf(const ConfidenceScale &scale, const Fit &fit, bool agrees)
{
    const double x = scale.all * fit.all + scale.words * fit.words + scale.offset +
                     (agrees ? scale.agreement : 0);
    return 1 / (1 + std::exp(-x));
}

bool isUnsure(double confidence)
{
    constexpr double kLow = 0.05;
    constexpr double kHigh = 0.95;
    return confidence > kLow && confidence < kHigh;
}

double verifiedConfidence(double score)
{
    // Between the commands and the other speech of bench/mandarin.sh.
    constexpr double kMiddle = -2.2;
    constexpr double kSlope = 4;
    return 1 / (1 + std::exp(-kSlope * (score - kMiddle)));
}

} // namespace vantel::ostrel
