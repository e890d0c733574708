// The searches over a whole utterance: the grammar's and that for free speech.
#include "ostrel/asr/asr.h"
#include "ostrel/asr/noise.h"
#include "ostrel/library.h"

#include <algorithm>

#define RESULT_LOG(level, ...) ENGINE_LOG("ostrel/asr_result", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

void addWord(const Grammar &grammar, const Segment &segment, GrammarResult *result)
{
    auto word = static_cast<size_t>(segment.word);
    auto pronunciation = static_cast<size_t>(segment.pronunciation);
    result->words.push_back(grammar.tree.words[word].text);
    const auto &[phones, reading] = grammar.pronunciations[word].at(pronunciation);
    result->phones += 1 + std::count(phones.begin(), phones.end(), ' ');
    result->wordFrames += segment.lastFrame - segment.firstFrame + 1;
    if (!reading.empty()) result->reading += (result->reading.empty() ? "" : " ") + reading;
}

// Samples of noise around an utterance whose words borrow the model: a quarter of a second.
constexpr size_t kBorrowedMargin = 4000;

// The searched audio may begin before the utterance, and end behind it.
void addTime(const Recogniser &recogniser, const Segment &segment, GrammarResult *result)
{
    constexpr int32_t kFrameMs = 10;
    constexpr int32_t kSamplesPerMs = 16;
    const auto marginMs =
        static_cast<int32_t>(recogniser.borrowsModel ? kBorrowedMargin / kSamplesPerMs : 0);
    const auto lengthMs = static_cast<int32_t>(recogniser.audio.size() / kSamplesPerMs);
    auto within = [&](int32_t frame) {
        return std::clamp(frame * kFrameMs - marginMs, 0, lengthMs);
    };
    result->times.push_back({within(segment.firstFrame), within(segment.lastFrame + 1)});
}

std::vector<int16_t> searchedAudio(const Recogniser &recogniser)
{
    if (!recogniser.borrowsModel) return withNoise(recogniser.audio, kWeakNoise, 0);
    return withNoise(recogniser.audio, noiseUnder(recogniser.audio), kBorrowedMargin);
}

} // namespace

bool recogniseGrammar(Recogniser *recogniser, GrammarResult *result)
{
    std::vector<Segment> words;
    std::vector<Segment> phones;
    Decoder *decoder = recogniser->decoder.get();
    const std::vector<int16_t> audio = searchedAudio(*recogniser);
    if (!decoderTake(decoder, audio) || !decoderPass(decoder, Search::grammar, &words))
        return false;
    bool hasWords = std::any_of(words.begin(), words.end(),
                                [](const Segment &segment) { return segment.word >= 0; });
    if (!hasWords) return true;
    if (!decoderPass(decoder, Search::phones, &phones)) return false;
    for (const Segment &segment : words) {
        if (segment.word < 0) continue;
        addWord(*recogniser->grammar, segment, result);
        addTime(*recogniser, segment, result);
    }
    measureFit(words, phones, result);
    return true;
}

void recogniseNgram(const Recogniser &recogniser, NgramResult *result)
{
    // Above this the model's own view is that there was no speech, and its words are made up.
    constexpr double kNoSpeech = 0.9;
    Transcript transcript;
    if (!transcribe(*recogniser.transcriber, recogniser.audio.data(), recogniser.audio.size(),
                    &transcript))
        return;
    RESULT_LOG(kDebug, "  transcript \"%s\", confidence %.3f, noise %.3f\n",
               transcript.text.c_str(), transcript.confidence, transcript.noise);
    result->isThere = true;
    if (transcript.noise > kNoSpeech) return;
    result->text = transcriptWords(transcript.text);
    result->confidence = result->text.empty() ? 0 : transcript.confidence;
}

} // namespace vantel::ostrel
