// The texts that the recogniser delivers.
#include "ostrel/asr/asr.h"
#include "ostrel/grammar/jsgf_matcher.h"
#include "ostrel/library.h"
#include "ostrel/words/respelling.h"

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

std::vector<std::string> textsOf(const std::vector<SpokenWord> &words)
{
    std::vector<std::string> texts;
    for (const SpokenWord &word : words)
        texts.push_back(word.text);
    return texts;
}

void addWords(cJSON *object, const std::vector<SpokenWord> &spoken)
{
    cJSON *words = cJSON_AddArrayToObject(object, "words");
    for (const SpokenWord &each : spoken) {
        Json word{cJSON_CreateObject()};
        cJSON_AddStringToObject(word.get(), "text", each.text.c_str());
        cJSON_AddNumberToObject(word.get(), "begin", static_cast<double>(each.beginMs));
        cJSON_AddNumberToObject(word.get(), "end", static_cast<double>(each.endMs));
        cJSON_AddItemToArray(words, word.release());
    }
}

void addMeaning(cJSON *object, const Grammar &grammar, const std::vector<std::string> &words)
{
    Meaning meaning;
    MatchResult result = matchWords(grammar.tree, words, &meaning);
    if (result != MatchResult::matched) {
        RESULT_LOG(kWarning, "  no meaning for \"%s\": %s\n", joinWords(words).c_str(),
                   result == MatchResult::tooHard ? "too much work" : "not of the grammar");
        return;
    }
    if (!meaning.sem->child) return;
    cJSON *post = cJSON_AddObjectToObject(object, "post");
    jsonAdd(post, "sem", std::move(meaning.sem));
}

void addGrammar(cJSON *root, const Recogniser &recogniser, const GrammarResult &grammar)
{
    const std::vector<std::string> words = textsOf(grammar.words);
    cJSON *object = cJSON_AddObjectToObject(root, "grammar");
    cJSON_AddStringToObject(object, "rec", joinWords(words).c_str());
    cJSON_AddNumberToObject(object, "eof", 1);
    addConfidence(object, grammar.confidence);
    if (recogniser.start.pinyin && !grammar.reading.empty())
        cJSON_AddStringToObject(object, "pinyin", grammar.reading.c_str());
    if (recogniser.options.showFit) {
        cJSON *fit = cJSON_AddObjectToObject(object, "fit");
        cJSON_AddNumberToObject(fit, "all", grammar.fitAll);
        cJSON_AddNumberToObject(fit, "words", grammar.fitWords);
        if (grammar.verified) cJSON_AddNumberToObject(fit, "verified", *grammar.verified);
    }
    if (words.empty()) return;
    addWords(object, grammar.words);
    addMeaning(object, *recogniser.grammar, words);
}

} // namespace

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
    if (recogniser.search && recogniser.start.grammar) addGrammar(root.get(), recogniser, grammar);
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
