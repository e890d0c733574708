// The search of a streaming recogniser: speech becomes words of the grammar while it comes in, so
// that the result is there at once. What the recogniser knows of the grammar is which words follow
// each other; that the words are a sentence of it is found out here.
#include "ostrel/asr/grammar_search.h"
#include "ostrel/grammar/heard_path.h"
#include "ostrel/library.h"
#include "ostrel/runtime/vosk.h"
#include "ostrel/words/respelling.h"

#include <algorithm>
#include <numeric>

#define STREAM_LOG(level, ...) ENGINE_LOG("ostrel/asr/stream_search", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

struct StreamSearch final : GrammarSearch {
    bool start(const StartOptions &) override;
    bool feed(std::span<const int16_t> samples) override;
    std::string partial() override;
    bool finish(std::span<const int16_t> audio, GrammarResult *result) override;
    void rate(const NgramResult &, GrammarResult *) override {}
    void cancel() override;

    std::shared_ptr<const Grammar> grammar;
    SpokenGrammar spoken;
    VoskDecoderHandle decoder;
    size_t taken = 0; // samples of the utterance
};

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
        const double length = std::max(1, word.endMs - word.beginMs);
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

bool StreamSearch::start(const StartOptions &)
{
    cancel();
    return true;
}

bool StreamSearch::feed(std::span<const int16_t> samples)
{
    taken += samples.size();
    voskDecoderFeed(decoder.get(), samples);
    return true;
}

std::string StreamSearch::partial()
{
    std::vector<std::string> words = splitWords(voskDecoderPartial(decoder.get()));
    std::erase(words, kUnknownWord);
    return joinWords(words);
}

bool StreamSearch::finish(std::span<const int16_t> audio, GrammarResult *result)
{
    if (taken < audio.size()) feed(audio.subspan(taken));
    std::vector<HeardWord> all = voskDecoderFinish(decoder.get());
    taken = 0;
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

void StreamSearch::cancel()
{
    if (taken > 0) voskDecoderReset(decoder.get());
    taken = 0;
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
    search->blockSamples = kVoskBlock;
    STREAM_LOG(kInfo, "  %zu phrases for the streaming recogniser\n", phrases.size());
    return search;
}

} // namespace vantel::ostrel
