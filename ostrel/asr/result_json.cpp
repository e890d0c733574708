// The texts that the recogniser delivers.
#include "ostrel/asr/asr.h"
#include "ostrel/grammar/jsgf_matcher.h"
#include "ostrel/library.h"

#include <cmath>

#define RESULT_LOG(level, ...) ENGINE_LOG("ostrel/asr_result", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// Four digits say all that is known.
void addConfidence(cJSON *object, double confidence)
{
    cJSON_AddNumberToObject(object, "conf", std::round(confidence * 1e4) / 1e4);
}

void addWords(cJSON *object, const GrammarResult &result)
{
    if (result.times.empty()) return;
    cJSON *words = cJSON_AddArrayToObject(object, "words");
    for (size_t i = 0; i < result.times.size(); ++i) {
        Json word{cJSON_CreateObject()};
        cJSON_AddStringToObject(word.get(), "text", result.words[i].c_str());
        cJSON_AddNumberToObject(word.get(), "begin", result.times[i].beginMs);
        cJSON_AddNumberToObject(word.get(), "end", result.times[i].endMs);
        cJSON_AddItemToArray(words, word.release());
    }
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

} // namespace

std::string joined(const std::vector<std::string> &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
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
        addWords(object, grammar);
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
