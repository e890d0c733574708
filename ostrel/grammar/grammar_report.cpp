#include "ostrel/grammar/grammar_report.h"

#include "ostrel/grammar/jsgf_matcher.h"
#include "ostrel/library.h"
#include "ostrel/words/pronounce.h"

#include <algorithm>
#include <set>

#define REPORT_LOG(level, ...) ENGINE_LOG("ostrel/grammar_report", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

using Texts = std::set<std::string, std::less<>>;

cJSON *addArray(cJSON *object, const char *key, const std::vector<std::string> &texts)
{
    cJSON *array = cJSON_AddArrayToObject(object, key);
    for (const std::string &text : texts)
        cJSON_AddItemToArray(array, cJSON_CreateString(text.c_str()));
    return array;
}

void addWords(cJSON *root, const Grammar &grammar, const cJSON *configuration)
{
    Json strict{cJSON_Duplicate(configuration, 1)};
    cJSON_DeleteItemFromObject(strict.get(), "guess");
    cJSON_AddBoolToObject(strict.get(), "guess", 0);
    Pronouncer dictionaries;
    const bool canTell = pronouncerOpen(strict.get(), &dictionaries);
    cJSON *words = cJSON_AddArrayToObject(root, "words");
    for (size_t i = 0; i < grammar.tree.words.size(); ++i) {
        const std::string &text = grammar.tree.words[i].text;
        std::vector<std::string> phones;
        for (const Pronunciation &each : grammar.pronunciations[i])
            phones.push_back(each.phones);
        Json word{cJSON_CreateObject()};
        cJSON_AddStringToObject(word.get(), "word", text.c_str());
        addArray(word.get(), "phones", phones);
        Pronunciations known;
        std::string reason;
        if (canTell && !pronounce(dictionaries, text, &known, &reason))
            cJSON_AddBoolToObject(word.get(), "guessed", 1);
        cJSON_AddItemToArray(words, word.release());
    }
}

// The words of a text as somebody writes it: blanks and punctuation part them, ASCII letters turn
// to lower case.
std::vector<std::string> writtenWords(const std::string &text)
{
    std::vector<std::string> words(1);
    for (const char letter : text) {
        if (std::string_view{" \t\r\n.,;:!?\"()"}.find(letter) != std::string_view::npos) {
            if (!words.back().empty()) words.emplace_back();
        } else {
            const bool isUpper = letter >= 'A' && letter <= 'Z';
            words.back() += static_cast<char>(isUpper ? letter - 'A' + 'a' : letter);
        }
    }
    if (words.back().empty()) words.pop_back();
    return words;
}

// Cuts a text that is written without blanks, as Chinese is, into words that are known, the longest
// first; what is left where nothing fits stays together.
std::vector<std::string> cut(std::string_view text, const Texts &known)
{
    // From the back: how long the first word of what is left may be, 0 where that leads nowhere.
    std::vector<size_t> first(text.size() + 1, 0);
    for (size_t begin = text.size(); begin-- > 0;)
        for (size_t size = text.size() - begin; size > 0 && first[begin] == 0; --size)
            if ((begin + size == text.size() || first[begin + size] > 0) &&
                known.contains(text.substr(begin, size)))
                first[begin] = size;
    std::vector<std::string> words;
    while (!text.empty()) {
        size_t size = first[first.size() - 1 - text.size()];
        for (size_t longest = text.size(); size == 0 && longest > 0; --longest)
            if (known.contains(text.substr(0, longest))) size = longest;
        if (size == 0) size = text.size();
        words.emplace_back(text.substr(0, size));
        text.remove_prefix(size);
    }
    return words;
}

std::vector<std::string> wordsOf(const std::string &text, const Texts &known)
{
    std::vector<std::string> words;
    for (const std::string &written : writtenWords(text)) {
        std::vector<std::string> parts{written};
        // The work grows with the square of the length.
        constexpr size_t kLongest = 400;
        if (!known.contains(written) && hasChinese(written) && written.size() <= kLongest)
            parts = cut(written, known);
        words.insert(words.end(), parts.begin(), parts.end());
    }
    return words;
}

Json tried(const std::string &text, const RuleTree &tree, const Texts &known)
{
    const std::vector<std::string> words = wordsOf(text, known);
    Json result{cJSON_CreateObject()};
    cJSON_AddStringToObject(result.get(), "text", text.c_str());
    addArray(result.get(), "words", words);
    Meaning meaning;
    Stuck stuck;
    switch (matchWords(tree, words, &meaning, &stuck)) {
    case MatchResult::matched:
        cJSON_AddStringToObject(result.get(), "rule", meaning.rule.c_str());
        jsonAdd(result.get(), "sem", std::move(meaning.sem));
        break;
    case MatchResult::unmatched:
        cJSON_AddNumberToObject(result.get(), "got", stuck.words);
        addArray(result.get(), "expected", stuck.expected);
        cJSON_AddBoolToObject(result.get(), "mayEnd", stuck.mayEnd);
        break;
    case MatchResult::tooHard:
        cJSON_AddBoolToObject(result.get(), "tooHard", 1);
        break;
    }
    return result;
}

} // namespace

bool grammarReport(const cJSON *configuration, const Grammar &grammar)
{
    const char *path = jsonString(configuration, "report");
    if (!path) return true;
    Texts known;
    for (const Word &word : grammar.tree.words)
        known.insert(word.text);
    Json root{cJSON_CreateObject()};
    addWords(root.get(), grammar, configuration);
    cJSON *sentences = cJSON_AddArrayToObject(root.get(), "sentences");
    const cJSON *sentence = nullptr;
    cJSON_ArrayForEach(sentence, jsonMember(configuration, "try"))
    {
        if (cJSON_IsString(sentence))
            cJSON_AddItemToArray(sentences,
                                 tried(sentence->valuestring, grammar.tree, known).release());
    }
    if (writeFile(path, jsonPrint(root.get()).get())) return true;
    REPORT_LOG(kError, "  cannot write the report %s\n", path);
    return false;
}

} // namespace vantel::ostrel
