// How sure a grammar's result is: its fit beside that of any phones, on the scale of its model.
#include "ostrel/asr/asr.h"
#include "ostrel/library.h"

#include <algorithm>
#include <cmath>

#define RESULT_LOG(level, ...) ENGINE_LOG("ostrel/asr_result", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// The score of the frames from first to last, where a segment's score is spread evenly over it.
double scoreBetween(const std::vector<Segment> &segments, int32_t first, int32_t last)
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

// Noise alone fits silence so well that Chinese words have only to be got over: they are found
// faster than people speak to a device.
bool isHurried(const GrammarResult &result)
{
    constexpr double kFewestFrames = 5; // of a phone, on average
    return static_cast<double>(result.wordFrames) <
           kFewestFrames * static_cast<double>(result.phones);
}

ConfidenceScale scaleFor(const Recogniser &recogniser, const NgramResult &ngram)
{
    if (recogniser.options.scale) return *recogniser.options.scale;
    if (recogniser.borrowsModel) return kScaleChinese;
    return ngram.isThere ? kScaleWithTranscript : kScaleAlone;
}

} // namespace

void measureFit(const std::vector<Segment> &words, const std::vector<Segment> &phones,
                GrammarResult *result)
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
    if (wordFrames == 0) return;
    result->fitAll = allScore / allFrames;
    result->fitWords = wordScore / wordFrames;
    RESULT_LOG(kDebug, "  fit of all frames %.2f, of the words %.2f\n", result->fitAll,
               result->fitWords);
}

void rateGrammar(const Recogniser &recogniser, const NgramResult &ngram, GrammarResult *result)
{
    if (result->words.empty()) return;
    if (recogniser.borrowsModel && isHurried(*result)) return;
    // One may write as two words what the other writes as one.
    auto letters = [](std::string text) {
        std::erase(text, ' ');
        return text;
    };
    const ConfidenceScale scale = scaleFor(recogniser, ngram);
    double x = scale.all * result->fitAll + scale.words * result->fitWords + scale.offset;
    if (ngram.isThere && letters(ngram.text) == letters(joined(result->words)))
        x += scale.agreement;
    result->confidence = 1 / (1 + std::exp(-x));
}

} // namespace vantel::ostrel
