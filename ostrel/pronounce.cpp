#include "ostrel/pronounce.h"

#include "ostrel/letter_to_sound.h"
#include "ostrel/library.h"
#include "ostrel/model_files.h"

#include <algorithm>

#define PRONOUNCE_LOG(level, ...) ENGINE_LOG("ostrel/pronounce", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxPronunciations = 8; // further ones cost search time and hardly ever fit

void add(const std::string &phones, Pronunciations *out)
{
    if (out->phones.size() < kMaxPronunciations &&
        std::find(out->phones.begin(), out->phones.end(), phones) == out->phones.end())
        out->phones.push_back(phones);
}

void addFrom(const Dictionary &dictionary, const std::string &word, Pronunciations *out)
{
    Pronunciations found;
    if (!dictionaryLookUp(dictionary, word, &found)) return;
    for (const std::string &phones : found.phones)
        add(phones, out);
    if (out->reading.empty()) out->reading = found.reading;
}

void addInline(const cJSON *words, const std::string &word, Pronunciations *out)
{
    const cJSON *entry = jsonMember(words, word.c_str());
    if (cJSON_IsString(entry)) add(entry->valuestring, out);
    if (!cJSON_IsArray(entry)) return;
    for (const cJSON *item = entry->child; item; item = item->next)
        if (cJSON_IsString(item)) add(item->valuestring, out);
}

} // namespace

bool pronouncerOpen(const cJSON *configuration, Pronouncer *pronouncer)
{
    const char *path = jsonString(configuration, "dict");
    pronouncer->dictionary = dictionaryOpen(path ? path : modelFile(kDefaultDictionary));
    if (!pronouncer->dictionary) return false;
    if (const char *user = jsonString(configuration, "userDict")) {
        pronouncer->user = dictionaryOpen(user);
        if (!pronouncer->user) return false;
    }
    pronouncer->inlineWords.reset(cJSON_Duplicate(jsonObject(configuration, "words"), 1));
    pronouncer->guesses = !cJSON_IsFalse(jsonMember(configuration, "guess"));
    return true;
}

bool pronounce(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out,
               std::string *reason)
{
    *out = {};
    std::string unknown;
    addInline(pronouncer.inlineWords.get(), word, out);
    if (pronouncer.user) addFrom(*pronouncer.user, word, out);
    for (const std::string &phones : out->phones) {
        if (phones.empty() || !dictionaryHasPhones(*pronouncer.dictionary, phones, &unknown)) {
            *reason = "the pronunciation of \"" + word + "\" has a phone \"" + unknown +
                      "\" that the dictionary does not know";
            return false;
        }
    }
    addFrom(*pronouncer.dictionary, word, out);
    if (!out->phones.empty()) return true;
    if (pronouncer.guesses) {
        std::string guess = letterToSound(word);
        if (!guess.empty() && dictionaryHasPhones(*pronouncer.dictionary, guess, &unknown)) {
            PRONOUNCE_LOG(kInfo, "  guessed pronunciation: %s %s\n", word.c_str(), guess.c_str());
            add(guess, out);
            return true;
        }
    }
    *reason = "no pronunciation of \"" + word + "\"";
    return false;
}

} // namespace vantel::ostrel
