#include "ostrel/asr/asr.h"
#include "ostrel/grammar/jsgf_matcher.h"
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

// How much better the grammar fits than phones in any order.
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

// Four digits say all that is known.
void addConfidence(cJSON *object, double confidence)
{
    cJSON_AddNumberToObject(object, "conf", std::round(confidence * 1e4) / 1e4);
}

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

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

void addMeaning(cJSON *object, const Grammar &grammar, const std::vector<std::string> &words)
{
    Meaning meaning;
    MatchResult result = matchWords(grammar.tree, words, &meaning);
    if (result != MatchResult::matched) {
        RESULT_LOG(kWarning, "  no meaning for \"%s\": %s\n", joined(words).c_str(),
                   result == MatchResult::tooHard ? "too much work" : "not of the grammar");
        return;
    }
    if (!meaning.sem->child) return;
    cJSON *post = cJSON_AddObjectToObject(object, "post");
    cJSON_AddItemToObject(post, "sem", meaning.sem.release());
}

// The peak of the noise that goes under every utterance.
constexpr int32_t kWeakNoise = 10;

// Noise 37 dB below the utterance. Chinese words fit the model of another language so badly that
// the mean of the cepstra decides: in clean recordings silence would pull it far from where the
// model has it.
int32_t noiseUnder(const std::vector<int16_t> &audio)
{
    constexpr double kPeakToLevel = 0.025;
    double sum = 0;
    for (int16_t sample : audio)
        sum += static_cast<double>(sample) * sample;
    const double level = std::sqrt(sum / static_cast<double>(std::max<size_t>(audio.size(), 1)));
    return std::max(kWeakNoise, static_cast<int32_t>(kPeakToLevel * level));
}

// The utterance with noise of that peak under all of it, the same every time, and with `margin`
// samples of that noise around it. Silence that is none at all, as in recordings that were cleaned
// and in synthetic speech, would weigh more than the words; Chinese words that are cut close fit
// badly.
std::vector<int16_t> withNoise(const std::vector<int16_t> &audio, int32_t peak, size_t margin)
{
    std::vector<int16_t> result(margin + audio.size() + margin);
    std::copy(audio.begin(), audio.end(), result.begin() + static_cast<ptrdiff_t>(margin));
    const auto range = static_cast<uint32_t>(2 * peak + 1);
    uint32_t state = 1;
    for (int16_t &sample : result) {
        state = state * 1664525U + 1013904223U;
        auto noise = static_cast<int32_t>((state >> 16) % range) - peak;
        sample = static_cast<int16_t>(std::clamp(sample + noise, -32768, 32767));
    }
    return result;
}

std::vector<int16_t> searchedAudio(const Recogniser &recogniser)
{
    constexpr size_t kBorrowedMargin = 4000; // a quarter of a second
    if (!recogniser.borrowsModel) return withNoise(recogniser.audio, kWeakNoise, 0);
    return withNoise(recogniser.audio, noiseUnder(recogniser.audio), kBorrowedMargin);
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
    for (const Segment &segment : words)
        if (segment.word >= 0) addWord(*recogniser->grammar, segment, result);
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

HeapText partialResult(const std::string &text)
{
    Json root{cJSON_CreateObject()};
    cJSON *grammar = cJSON_AddObjectToObject(root.get(), "grammar");
    cJSON_AddStringToObject(grammar, "rec", text.c_str());
    cJSON_AddNumberToObject(grammar, "eof", 0);
    cJSON_AddNumberToObject(grammar, "var", 0);
    return jsonPrint(root.get());
}

HeapText finalResult(const Recogniser &recogniser, const GrammarResult &grammar,
                     const NgramResult &ngram)
{
    Json root{cJSON_CreateObject()};
    if (recogniser.decoder && recogniser.start.grammar) {
        cJSON *object = cJSON_AddObjectToObject(root.get(), "grammar");
        cJSON_AddStringToObject(object, "rec", joined(grammar.words).c_str());
        cJSON_AddNumberToObject(object, "eof", 1);
        addConfidence(object, grammar.confidence);
        if (recogniser.start.pinyin && !grammar.reading.empty())
            cJSON_AddStringToObject(object, "pinyin", grammar.reading.c_str());
        if (recogniser.options.showFit) {
            cJSON *fit = cJSON_AddObjectToObject(object, "fit");
            cJSON_AddNumberToObject(fit, "all", grammar.fitAll);
            cJSON_AddNumberToObject(fit, "words", grammar.fitWords);
        }
        if (!grammar.words.empty()) addMeaning(object, *recogniser.grammar, grammar.words);
    }
    // An utterance always has a result, if an empty one.
    if (!ngram.text.empty() || !root->child) {
        cJSON *object = cJSON_AddObjectToObject(root.get(), "ngram");
        cJSON_AddStringToObject(object, "rec", ngram.text.c_str());
        cJSON_AddNumberToObject(object, "eof", 1);
        addConfidence(object, ngram.confidence);
    }
    return jsonPrint(root.get());
}

} // namespace vantel::ostrel
