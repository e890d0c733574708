// The search of a streaming recogniser: speech becomes words of the grammar while it comes in, so
// that the result is there at once. What the recogniser knows of the grammar is which words follow
// each other; that the words are a sentence of it is found out here.
#include "ostrel/asr/grammar_search.h"
#include "ostrel/grammar/heard_path.h"
#include "ostrel/library.h"
#include "ostrel/runtime/vosk.h"
#include "ostrel/words/respelling.h"

#include <algorithm>
#include <deque>

#define STREAM_LOG(level, ...) ENGINE_LOG("ostrel/asr/stream_search", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

struct StreamSearch final : GrammarSearch {
    bool start() override;
    bool feed(std::span<const int16_t> samples) override;
    bool isOver() override;
    std::string partial() override;
    bool finish(std::span<const int16_t> audio, GrammarResult *result) override;
    void rate(const NgramResult &, GrammarResult *) override {}
    void cancel() override;
    void forget();

    std::shared_ptr<const Grammar> grammar;
    SpokenGrammar spoken;
    VoskDecoderHandle decoder;
    bool continuous = false;
    // The utterance.
    size_t taken = 0;                             // samples
    std::deque<std::vector<std::string>> guesses; // of the last blocks, the newest first
    std::string steady;                           // what was told of them
    size_t unchanged = 0;  // blocks for which the newest guess has been the same
    bool hearsEnd = false; // the decoder itself
    // In audio without end.
    int64_t passedMs = 0; // of the audio before this utterance
};

// A guess that stays for so many blocks is not going to change for what was said so far: the
// decoder thinks anew every 240 ms.
constexpr size_t kSteadyBlocks = 3;
// As long as that a whole sentence has to stay, with which no other begins: two of the decoder's
// steps. With one, ends of a sentence that is not there yet were taken for one three times as
// often.
constexpr size_t kOverBlocks = 5;
// Of audio without end. What is none of the phrases is forgotten after this; what may be the
// beginning of one gets the longer time.
constexpr size_t kForgetSamples = 10 * 16000;
constexpr size_t kForgetAllSamples = 30 * 16000;

// How the words of the grammar are told to the recogniser. False with the words that it lacks.
bool spellWords(const Grammar &grammar, const VoskModel &model,
                std::vector<std::vector<std::string>> *spellings, std::string *reason)
{
    const KnowsWord knows = [&](const std::string &word) { return voskModelKnows(model, word); };
    std::vector<std::string> unknown;
    std::vector<bool> isUsed(grammar.tree.words.size());
    for (const Arc &arc : grammar.network.arcs)
        if (arc.word != kNoWord) isUsed[static_cast<size_t>(arc.word)] = true;
    for (size_t i = 0; i < isUsed.size(); ++i) {
        spellings->emplace_back();
        if (!isUsed[i]) continue;
        const std::string &word = grammar.tree.words[i].text;
        auto given = grammar.respellings.find(word);
        std::vector<std::string> spelling =
            given == grammar.respellings.end() ? respell(word, knows) : splitWords(given->second);
        if (spelling.empty() || !std::all_of(spelling.begin(), spelling.end(), knows))
            unknown.push_back(word);
        else if (spelling.size() > 1 || spelling[0] != word)
            STREAM_LOG(kInfo, "  \"%s\" is heard as \"%s\"\n", word.c_str(),
                       joinWords(spelling).c_str());
        spellings->back() = std::move(spelling);
    }
    if (!unknown.empty()) *reason = "its vocabulary lacks " + joinWords(unknown, ", ");
    return unknown.empty();
}

// The phrases that tell the recogniser which words follow each other, and that there is other
// speech.
std::vector<std::string> phrasesOf(std::span<const Sentence> sentences,
                                   std::span<const std::vector<std::string>> spellings)
{
    std::vector<std::string> phrases;
    for (const Sentence &sentence : sentences) {
        std::string phrase;
        for (int32_t word : sentence)
            phrase += (phrase.empty() ? "" : " ") + joinWords(spellings[static_cast<size_t>(word)]);
        phrases.push_back(std::move(phrase));
    }
    phrases.push_back(kUnknownWord);
    return phrases;
}

// How sure the recogniser is of its words: the mean of their confidences by duration. The least of
// them would be a bad measure, as "a" and "an" compete.
double surenessOf(std::span<const HeardWord> words)
{
    double sum = 0;
    double duration = 0;
    for (const HeardWord &word : words) {
        const auto length = static_cast<double>(std::max<int64_t>(1, word.endMs - word.beginMs));
        sum += word.confidence * length;
        duration += length;
    }
    return duration > 0 ? sum / duration : 0;
}

std::vector<HeardWord> withoutUnknown(std::vector<HeardWord> words)
{
    std::erase_if(words, [](const HeardWord &word) { return word.text == kUnknownWord; });
    return words;
}

// The words behind the last one that is no word of the grammar.
template <typename Words> Words behindUnknown(const Words &words, auto isUnknown)
{
    auto last = std::find_if(words.rbegin(), words.rend(), isUnknown);
    return Words(last.base(), words.end());
}

// The most certain of the stretches between other speech that is a sentence; empty when none is.
std::vector<HeardWord> bestStretch(const SpokenGrammar &spoken, std::span<const HeardWord> words)
{
    std::vector<HeardWord> best;
    for (size_t from = 0; from < words.size(); ++from) {
        std::vector<HeardWord> stretch;
        std::vector<std::string> texts;
        while (from < words.size() && words[from].text != kUnknownWord) {
            texts.push_back(words[from].text);
            stretch.push_back(words[from++]);
        }
        if (exactPath(spoken, tokensOf(spoken, texts)) && surenessOf(stretch) > surenessOf(best))
            best = std::move(stretch);
    }
    return best;
}

std::optional<Path> findPath(const SpokenGrammar &spoken, std::span<const HeardWord> heard,
                             bool *isExact)
{
    std::vector<std::string> texts;
    std::vector<double> confidences;
    for (const HeardWord &word : heard) {
        texts.push_back(word.text);
        confidences.push_back(word.confidence);
    }
    const std::vector<int32_t> tokens = tokensOf(spoken, texts);
    std::optional<Path> path = exactPath(spoken, tokens);
    *isExact = path.has_value();
    return path ? path : repairedPath(spoken, tokens, confidences);
}

// The words of the path; one that was not heard has no duration.
std::vector<SpokenWord> spokenWords(const Grammar &grammar, const Path &path,
                                    std::span<const HeardWord> heard)
{
    std::vector<SpokenWord> words;
    for (const PathWord &step : path) {
        SpokenWord word{grammar.tree.words[static_cast<size_t>(step.word)].text};
        const auto first = static_cast<size_t>(step.firstToken);
        if (step.tokens > 0) {
            word.beginMs = heard[first].beginMs;
            word.endMs = heard[first + static_cast<size_t>(step.tokens) - 1].endMs;
        } else if (!heard.empty()) {
            word.beginMs = word.endMs =
                first < heard.size() ? heard[first].beginMs : heard.back().endMs;
        }
        words.push_back(std::move(word));
    }
    return words;
}

bool StreamSearch::start()
{
    cancel();
    passedMs = 0;
    return true;
}

bool StreamSearch::feed(std::span<const int16_t> samples)
{
    taken += samples.size();
    hearsEnd = voskDecoderFeed(decoder.get(), samples);
    guesses.push_front(splitWords(voskDecoderPartial(decoder.get())));
    const bool isSame = guesses.size() > 1 && guesses[0] == guesses[1];
    unchanged = isSame ? unchanged + 1 : 0;
    if (guesses.size() > kSteadyBlocks) guesses.pop_back();
    return true;
}

bool StreamSearch::isOver()
{
    if (guesses.empty()) return false;
    std::vector<std::string> words = guesses.front();
    if (continuous)
        words = behindUnknown(words, [](const std::string &word) { return word == kUnknownWord; });
    const Progress progress = progressOf(spoken, tokensOf(spoken, words));
    const bool isSentence = progress == Progress::closed || progress == Progress::complete;
    if (isSentence && hearsEnd) return true;
    if (progress == Progress::closed && unchanged >= kOverBlocks) return true;
    if (!continuous) return false;
    // A sentence with which others begin gets no more time than these would.
    if (isSentence && unchanged >= 2 * kOverBlocks) return true;
    const bool mayBegin = !words.empty() && progress != Progress::outside;
    return hearsEnd || taken > kForgetAllSamples || (taken > kForgetSamples && !mayBegin);
}

// The words that have not changed for a while, and only such as begin a sentence: what people see
// does not jump.
std::string StreamSearch::partial()
{
    if (guesses.size() < kSteadyBlocks) return steady;
    std::vector<std::string> words = guesses.front();
    for (const std::vector<std::string> &guess : guesses) {
        auto differs = std::mismatch(words.begin(), words.end(), guess.begin(), guess.end());
        words.erase(differs.first, words.end());
    }
    const std::string text = joinWords(words);
    if (progressOf(spoken, tokensOf(spoken, words)) != Progress::outside && !words.empty())
        steady = text;
    return steady;
}

bool StreamSearch::finish(std::span<const int16_t> audio, GrammarResult *result)
{
    if (taken < audio.size()) feed(audio.subspan(taken));
    std::vector<HeardWord> all = voskDecoderFinish(decoder.get());
    const int64_t beganMs = passedMs;
    passedMs += static_cast<int64_t>(taken / (kVoskBlock / 100));
    forget();
    if (continuous) all = bestStretch(spoken, all);
    for (HeardWord &word : all) {
        word.beginMs += beganMs;
        word.endMs += beganMs;
    }
    const double sureness = surenessOf(all);
    const std::vector<HeardWord> heard = withoutUnknown(all);
    if (heard.empty()) return true;
    bool isExact = false;
    const std::optional<Path> path = findPath(spoken, heard, &isExact);
    // 0.75 of the recogniser's own confidence tells commands from other speech; as its square that
    // lies just above 0.55. Words that are no sentence, or not all of what was said, stay below.
    result->confidence = sureness * sureness;
    if (!path || heard.size() != all.size()) result->confidence /= 2;
    if (path) {
        result->words = spokenWords(*grammar, *path, heard);
    } else {
        for (const HeardWord &word : heard)
            result->words.push_back({word.text, word.beginMs, word.endMs});
    }
    STREAM_LOG(kDebug, "  heard %zu words, sure by %.2f, %s\n", all.size(), sureness,
               !path     ? "no sentence"
               : isExact ? "a sentence"
                         : "nearly a sentence");
    return true;
}

void StreamSearch::forget()
{
    taken = 0;
    guesses.clear();
    steady.clear();
    unchanged = 0;
    hearsEnd = false;
}

void StreamSearch::cancel()
{
    if (taken > 0) voskDecoderReset(decoder.get());
    forget();
}

} // namespace

std::unique_ptr<GrammarSearch> streamSearchOpen(const AsrOptions &options,
                                                std::shared_ptr<const Grammar> grammar,
                                                std::string *reason)
{
    if (!options.acousticModel.empty()) {
        *reason = "\"hmm\" names an acoustic model";
        return nullptr;
    }
    if (isChinese(*grammar)) {
        *reason = "it knows no Chinese";
        return nullptr;
    }
    auto model = voskModelOpen(options.streamingModel, reason);
    if (!model) return nullptr;
    auto search = std::make_unique<StreamSearch>();
    std::vector<std::vector<std::string>> spellings;
    std::vector<Sentence> sentences;
    if (!spellWords(*grammar, *model, &spellings, reason)) return nullptr;
    if (!makeSpoken(grammar->tree, grammar->network, spellings, &search->spoken) ||
        !coveringSentences(search->spoken.sentences, &sentences)) {
        *reason = "the grammar is too large";
        return nullptr;
    }
    const std::vector<std::string> phrases = phrasesOf(sentences, spellings);
    search->decoder = voskDecoderOpen(model, phrases);
    if (!search->decoder) {
        *reason = "its library refuses the grammar";
        return nullptr;
    }
    search->grammar = std::move(grammar);
    search->continuous = options.continuous;
    search->blockSamples = kVoskBlock;
    STREAM_LOG(kInfo, "  %zu phrases for the streaming recogniser\n", phrases.size());
    return search;
}

} // namespace vantel::ostrel
