#include "ostrel/words/pronounce.h"

#include "ostrel/library.h"
#include "ostrel/model_files.h"
#include "ostrel/words/letter_to_sound.h"

#include <algorithm>
#include <sstream>

#define PRONOUNCE_LOG(level, ...) ENGINE_LOG("ostrel/pronounce", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxPronunciations = 8; // further ones cost search time and hardly ever fit
constexpr size_t kMaxPartBytes = 48;     // of a word that is put together: sixteen characters

void add(const Pronunciation &pronunciation, Pronunciations *out)
{
    bool isNew = std::none_of(out->begin(), out->end(), [&](const Pronunciation &known) {
        return known.phones == pronunciation.phones;
    });
    if (isNew && out->size() < kMaxPronunciations) out->push_back(pronunciation);
}

void addFrom(const Dictionary &dictionary, const std::string &word, Pronunciations *out)
{
    Pronunciations found;
    if (!dictionaryLookUp(dictionary, word, &found)) return;
    for (const Pronunciation &each : found)
        add(each, out);
}

void addInline(const cJSON *words, const std::string &word, Pronunciations *out)
{
    const cJSON *entry = jsonMember(words, word.c_str());
    if (cJSON_IsString(entry)) add({entry->valuestring, ""}, out);
    if (!cJSON_IsArray(entry)) return;
    for (const cJSON *item = entry->child; item; item = item->next)
        if (cJSON_IsString(item)) add({item->valuestring, ""}, out);
}

// Looking for a phone that the dictionary has late or never means reading all of it, so that each
// is looked for once.
bool hasPhones(const Pronouncer &pronouncer, const std::string &phones, std::string *unknown)
{
    std::istringstream stream{phones};
    for (std::string phone; stream >> phone;) {
        auto [entry, isNew] = pronouncer.knownPhones.try_emplace(phone, false);
        if (isNew) entry->second = dictionaryHasPhones(*pronouncer.dictionary, phone, unknown);
        if (entry->second) continue;
        *unknown = phone;
        return false;
    }
    return true;
}

bool areKnown(const Pronouncer &pronouncer, const std::string &word, const Pronunciations &all,
              std::string *reason)
{
    std::string unknown;
    for (const auto &[phones, reading] : all) {
        if (!phones.empty() && hasPhones(pronouncer, phones, &unknown)) continue;
        reason->assign("the pronunciation of \"").append(word);
        reason->append("\" has a phone \"").append(unknown);
        reason->append("\" that the dictionary does not know");
        return false;
    }
    return true;
}

void addGuess(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out)
{
    std::string unknown;
    std::string guess = pronouncer.guesses ? letterToSound(word) : "";
    if (guess.empty() || !hasPhones(pronouncer, guess, &unknown)) return;
    PRONOUNCE_LOG(kInfo, "  guessed pronunciation: %s %s\n", word.c_str(), guess.c_str());
    add({guess, ""}, out);
}

void addFromDictionaries(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out)
{
    if (pronouncer.user) addFrom(*pronouncer.user, word, out);
    addFrom(*pronouncer.dictionary, word, out);
}

// One of the ways to speak a part of a word. The less likely it is, the more it costs.
struct Way {
    Pronunciation pronunciation;
    size_t cost;
};

std::vector<Way> waysOf(const Pronunciations &all)
{
    std::vector<Way> ways;
    for (const Pronunciation &each : all)
        ways.push_back({each, ways.size()});
    return ways;
}

std::vector<Way> waysOfCharacter(const Pronouncer &pronouncer, std::string_view character)
{
    std::vector<Way> ways;
    std::vector<std::string> readings = readingsOf(character);
    for (size_t i = 0; i < readings.size() && pronouncer.phoneMap; ++i) {
        std::vector<std::string> phones = phonesOf(*pronouncer.phoneMap, readings[i]);
        for (size_t n = 0; n < phones.size(); ++n)
            ways.push_back({{phones[n], readings[i]}, i + n});
    }
    return ways;
}

// The end of the leading characters that are all Chinese, or all not.
size_t runOf(std::string_view text)
{
    const bool chinese = hasChinese(firstCharacter(text));
    size_t end = 0;
    while (end < text.size() && hasChinese(firstCharacter(text.substr(end))) == chinese)
        end += firstCharacter(text.substr(end)).size();
    return end;
}

// The most frequent readings of a text of characters.
std::string usualReading(std::string_view text)
{
    std::string reading;
    while (!text.empty()) {
        std::string_view character = firstCharacter(text);
        std::vector<std::string> all = readingsOf(character);
        if (!all.empty()) reading += (reading.empty() ? "" : " ") + all[0];
        text.remove_prefix(character.size());
    }
    return reading;
}

void fillReadings(std::string_view word, Pronunciations *all)
{
    for (Pronunciation &each : *all)
        if (each.reading.empty()) each.reading = usualReading(word);
}

// Takes the next part from the front of *rest: the longest one that a dictionary has, else one
// character; foreign letters between characters stay together.
std::vector<Way> takePart(const Pronouncer &pronouncer, std::string_view *rest)
{
    const size_t run = runOf(*rest);
    const bool chinese = hasChinese(firstCharacter(*rest));
    const size_t least = chinese ? firstCharacter(*rest).size() : run;
    for (size_t size = std::min(run, std::max(least, kMaxPartBytes)); size >= least; --size) {
        // Parts end between characters.
        if (size < run && (static_cast<unsigned char>((*rest)[size]) & 0xC0) == 0x80) continue;
        std::string part{rest->substr(0, size)};
        Pronunciations found;
        addFromDictionaries(pronouncer, part, &found);
        if (found.empty() && !chinese) addGuess(pronouncer, part, &found);
        if (found.empty()) continue;
        fillReadings(part, &found);
        rest->remove_prefix(size);
        return waysOf(found);
    }
    std::vector<Way> ways;
    if (chinese) ways = waysOfCharacter(pronouncer, rest->substr(0, least));
    rest->remove_prefix(least);
    return ways;
}

std::string joined(const std::string &front, const std::string &back)
{
    return front.empty() || back.empty() ? front + back : front + " " + back;
}

// Each front with each back, the cheapest first.
std::vector<Way> combined(const std::vector<Way> &fronts, const std::vector<Way> &backs)
{
    std::vector<Way> all;
    for (const Way &front : fronts)
        for (const Way &back : backs)
            all.push_back({{joined(front.pronunciation.phones, back.pronunciation.phones),
                            joined(front.pronunciation.reading, back.pronunciation.reading)},
                           front.cost + back.cost});
    std::stable_sort(all.begin(), all.end(),
                     [](const Way &a, const Way &b) { return a.cost < b.cost; });
    all.resize(std::min(all.size(), kMaxPronunciations));
    return all;
}

void addFromParts(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out)
{
    std::vector<Way> ways{{{}, 0}};
    for (std::string_view rest = word; !rest.empty() && !ways.empty();)
        ways = combined(ways, takePart(pronouncer, &rest));
    for (const Way &way : ways)
        add(way.pronunciation, out);
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
    const char *map = jsonString(configuration, "phoneMap");
    pronouncer->phoneMap = phoneMapOpen(map ? map : "");
    if (map && !pronouncer->phoneMap) return false;
    pronouncer->inlineWords.reset(cJSON_Duplicate(jsonObject(configuration, "words"), 1));
    pronouncer->guesses = !cJSON_IsFalse(jsonMember(configuration, "guess"));
    return true;
}

bool pronounce(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out,
               std::string *reason)
{
    out->clear();
    addInline(pronouncer.inlineWords.get(), word, out);
    addFromDictionaries(pronouncer, word, out);
    if (out->empty() && hasChinese(word)) addFromParts(pronouncer, word, out);
    if (out->empty() && !hasChinese(word)) addGuess(pronouncer, word, out);
    if (out->empty()) {
        *reason = "no pronunciation of \"" + word + "\"";
        return false;
    }
    fillReadings(word, out);
    return areKnown(pronouncer, word, *out, reason);
}

} // namespace vantel::ostrel
