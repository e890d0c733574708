// The search of a network of words over phones, searched as a whole once
// the utterance is over, and phones in any order beside it, for the confidence.
#include "ostrel/asr/confidence.h"
#include "ostrel/asr/decoder.h"
#include "ostrel/asr/grammar_search.h"
#include "ostrel/asr/noise.h"
#include "ostrel/model_files.h"
#include "ostrel/runtime/verifier.h"

#include <algorithm>

namespace vantel::ostrel
{
namespace
{

struct FsgSearch final : GrammarSearch {
    bool start() override;
    bool feed(std::span<const int16_t> samples) override;
    std::string partial() override;
    bool finish(std::span<const int16_t> audio, GrammarResult *result) override;
    void rate(const NgramResult &ngram, GrammarResult *result) override;
    void cancel() override;

    std::shared_ptr<const Grammar> grammar;
    DecoderHandle decoder;
    bool borrowsModel = false; // Chinese words over the English model, which need care of their own
    bool partials = true;
    std::optional<ConfidenceScale> scale;
    std::shared_ptr<const Verifier> verifier; // null: none
    int64_t phones = 0;                       // of the last result's words
    int64_t wordFrames = 0;                   // that these take
};

// The letters of the words: one may write as two words what another writes as one.
std::string lettersOf(const GrammarResult &result)
{
    std::string letters;
    for (const SpokenWord &word : result.words)
        letters += word.text;
    return letters;
}

// Samples of noise around an utterance whose words borrow the model: a quarter of a second.
constexpr size_t kBorrowedMargin = 4000;

// When the word was spoken in an utterance of that many samples. The searched audio may begin
// before the utterance, and end behind it.
void setTime(const FsgSearch &search, const Segment &segment, size_t samples, SpokenWord *word)
{
    constexpr int32_t kFrameMs = 10;
    constexpr int32_t kSamplesPerMs = 16;
    const auto marginMs =
        static_cast<int32_t>(search.borrowsModel ? kBorrowedMargin / kSamplesPerMs : 0);
    const auto lengthMs = static_cast<int32_t>(samples / kSamplesPerMs);
    word->beginMs = std::clamp(segment.firstFrame * kFrameMs - marginMs, 0, lengthMs);
    word->endMs = std::clamp((segment.lastFrame + 1) * kFrameMs - marginMs, 0, lengthMs);
}

void addWord(FsgSearch *search, const Segment &segment, GrammarResult *result)
{
    auto word = static_cast<size_t>(segment.word);
    auto pronunciation = static_cast<size_t>(segment.pronunciation);
    result->words.push_back({search->grammar->tree.words[word].text});
    const auto &[phones, reading] = search->grammar->pronunciations[word].at(pronunciation);
    search->phones += 1 + std::count(phones.begin(), phones.end(), ' ');
    search->wordFrames += segment.lastFrame - segment.firstFrame + 1;
    if (!reading.empty()) result->reading += (result->reading.empty() ? "" : " ") + reading;
}

std::vector<int16_t> searchedAudio(const FsgSearch &search, std::span<const int16_t> audio)
{
    if (!search.borrowsModel) return withNoise(audio, kWeakNoise, 0);
    return withNoise(audio, noiseUnder(audio), kBorrowedMargin);
}

// Noise alone fits silence so well that Chinese words have only to be got over: they are found
// faster than people speak to a device.
bool isHurried(const FsgSearch &search)
{
    constexpr double kFewestFrames = 5; // of a phone, on average
    return static_cast<double>(search.wordFrames) <
           kFewestFrames * static_cast<double>(search.phones);
}

ConfidenceScale scaleFor(const FsgSearch &search, const NgramResult &ngram)
{
    if (search.scale) return *search.scale;
    if (search.borrowsModel) return kScaleChinese;
    return ngram.isThere ? kScaleWithTranscript : kScaleAlone;
}

bool FsgSearch::start()
{
    decoderStreamEnd(decoder.get());
    return !partials || decoderStreamStart(decoder.get());
}

bool FsgSearch::feed(std::span<const int16_t> samples)
{
    return !partials || decoderStreamFeed(decoder.get(), samples);
}

std::string FsgSearch::partial()
{
    std::string text;
    for (int32_t word : decoderStreamWords(decoder.get()))
        text += (text.empty() ? "" : " ") + grammar->tree.words[static_cast<size_t>(word)].text;
    return text;
}

bool FsgSearch::finish(std::span<const int16_t> audio, GrammarResult *result)
{
    std::vector<Segment> words;
    std::vector<Segment> loop;
    phones = 0;
    wordFrames = 0;
    decoderStreamEnd(decoder.get());
    if (!decoderTake(decoder.get(), searchedAudio(*this, audio)) ||
        !decoderPass(decoder.get(), Search::grammar, &words))
        return false;
    bool hasWords = std::any_of(words.begin(), words.end(),
                                [](const Segment &segment) { return segment.word >= 0; });
    if (!hasWords) return true;
    if (!decoderPass(decoder.get(), Search::phones, &loop)) return false;
    for (const Segment &segment : words) {
        if (segment.word < 0) continue;
        addWord(this, segment, result);
        setTime(*this, segment, audio.size(), &result->words.back());
    }
    const Fit fit = measureFit(words, loop);
    result->fitAll = fit.all;
    result->fitWords = fit.words;
    const double confidence = confidenceOf(scaleFor(*this, {}), fit, false);
    double score = 0;
    if (verifier && !(borrowsModel && isHurried(*this)) && isUnsure(confidence) &&
        verify(*verifier, audio.data(), audio.size(), lettersOf(*result), &score))
        result->verified = score;
    return true;
}

void FsgSearch::rate(const NgramResult &ngram, GrammarResult *result)
{
    if (result->words.empty()) return;
    if (borrowsModel && isHurried(*this)) return;
    std::string heard = ngram.text;
    std::erase(heard, ' ');
    const bool agrees = ngram.isThere && heard == lettersOf(*result);
    result->confidence =
        result->verified
            ? verifiedConfidence(*result->verified)
            : confidenceOf(scaleFor(*this, ngram), {result->fitAll, result->fitWords}, agrees);
}

void FsgSearch::cancel()
{
    decoderStreamEnd(decoder.get());
}

} // namespace

std::unique_ptr<GrammarSearch> fsgSearchOpen(const AsrOptions &options,
                                             std::shared_ptr<const Grammar> grammar,
                                             std::string *reason)
{
    if (options.continuous) {
        *reason = "it needs the end of an utterance";
        return nullptr;
    }
    const std::string comesAlong = modelFile(kDefaultAcousticModel);
    const std::string &model = options.acousticModel.empty() ? comesAlong : options.acousticModel;
    auto search = std::make_unique<FsgSearch>();
    search->borrowsModel = isChinese(*grammar) && model == comesAlong;
    search->decoder = decoderOpen(model, *grammar, search->borrowsModel);
    if (!search->decoder) {
        *reason = "its acoustic model cannot be used";
        return nullptr;
    }
    search->grammar = std::move(grammar);
    search->partials = options.partials;
    search->scale = options.scale;
    if (options.verify && isChinese(*search->grammar)) search->verifier = verifierOpen();
    search->usesNgram = true;
    return search;
}

} // namespace vantel::ostrel
