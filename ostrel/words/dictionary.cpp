#include "ostrel/words/dictionary.h"

#include "ostrel/library.h"
#include "tools/thread_safety.h"

#include <algorithm>
#include <bit>
#include <map>
#include <string_view>

#define DICTIONARY_LOG(level, ...) ENGINE_LOG("ostrel/dictionary", level, __VA_ARGS__)

namespace vantel::ostrel
{

// The file as it is and a hash table of where its lines begin: a fifth of the memory of a map of
// texts, and much sooner made.
struct Dictionary {
    std::string content;
    std::vector<uint32_t> slots; // a power of two of them; the lines of a word in their order
    size_t pronunciations = 0;
};

namespace
{

constexpr const char *kBlanks = " \t\r";

Mutex dictionariesMutex;
std::map<std::string, std::shared_ptr<const Dictionary>> &dictionaries() REQUIRES(dictionariesMutex)
{
    static auto &all = *new std::map<std::string, std::shared_ptr<const Dictionary>>;
    return all;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

// The word of a line without the number of its pronunciation.
std::string_view baseWord(std::string_view word)
{
    size_t open = word.rfind('(');
    if (open == std::string_view::npos || open == 0 || word.back() != ')') return word;
    return word.substr(0, open);
}

std::string_view lineAt(const Dictionary &dictionary, uint32_t begin)
{
    std::string_view rest = std::string_view{dictionary.content}.substr(begin);
    return rest.substr(0, std::min(rest.find('\n'), rest.size()));
}

// The text up to the next blank; *line is what follows the blanks behind it.
std::string_view takeField(std::string_view *line)
{
    std::string_view field = line->substr(0, std::min(line->find_first_of(kBlanks), line->size()));
    line->remove_prefix(field.size());
    line->remove_prefix(std::min(line->find_first_not_of(kBlanks), line->size()));
    return field;
}

std::string_view wordAt(const Dictionary &dictionary, uint32_t begin)
{
    std::string_view line = lineAt(dictionary, begin);
    return baseWord(takeField(&line));
}

constexpr uint32_t kEmptySlot = UINT32_MAX;

bool isSameWord(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lower(x) == lower(y); });
}

size_t firstSlot(const Dictionary &dictionary, std::string_view word)
{
    uint64_t hash = 14695981039346656037U;
    for (char c : word)
        hash = (hash ^ static_cast<unsigned char>(lower(c))) * 1099511628211U;
    return static_cast<size_t>(hash >> 20) & (dictionary.slots.size() - 1);
}

size_t slotAfter(const Dictionary &dictionary, size_t slot)
{
    return (slot + 1) & (dictionary.slots.size() - 1);
}

// The phones of the line; *rest is what stands behind them.
std::string_view phonesAt(const Dictionary &dictionary, uint32_t begin, std::string_view *rest)
{
    std::string_view line = lineAt(dictionary, begin);
    takeField(&line);
    size_t end = std::min(line.find('#'), line.size());
    *rest = line.substr(end);
    std::string_view phones = line.substr(0, end);
    phones.remove_suffix(phones.size() - (phones.find_last_not_of(kBlanks) + 1));
    return phones;
}

void addLine(Dictionary *dictionary, uint32_t begin)
{
    std::string_view line = lineAt(*dictionary, begin);
    if (line.empty() || line[0] == '#' || line.starts_with(";;;")) return;
    std::string_view rest;
    std::string_view word = wordAt(*dictionary, begin);
    if (word.empty() || phonesAt(*dictionary, begin, &rest).empty()) return;
    size_t slot = firstSlot(*dictionary, word);
    while (dictionary->slots[slot] != kEmptySlot)
        slot = slotAfter(*dictionary, slot);
    dictionary->slots[slot] = begin;
    dictionary->pronunciations++;
}

std::shared_ptr<const Dictionary> read(const std::string &path)
{
    auto dictionary = std::make_shared<Dictionary>();
    if (!readFile(path, &dictionary->content)) {
        DICTIONARY_LOG(kError, "  cannot read the dictionary %s\n", path.c_str());
        return nullptr;
    }
    const std::string &content = dictionary->content;
    auto lines = static_cast<size_t>(std::count(content.begin(), content.end(), '\n')) + 1;
    dictionary->slots.assign(std::bit_ceil(lines * 3 / 2 + 1), kEmptySlot);
    for (size_t begin = 0; begin < content.size();) {
        addLine(dictionary.get(), static_cast<uint32_t>(begin));
        begin = std::min(content.find('\n', begin), content.size() - 1) + 1;
    }
    if (dictionary->pronunciations == 0) {
        DICTIONARY_LOG(kError, "  no pronunciation in the dictionary %s\n", path.c_str());
        return nullptr;
    }
    DICTIONARY_LOG(kInfo, "  dictionary %s: %zu pronunciations\n", path.c_str(),
                   dictionary->pronunciations);
    return dictionary;
}

// The same phones with single blanks between them.
std::string tidyPhones(std::string_view phones)
{
    std::string text;
    phones.remove_prefix(std::min(phones.find_first_not_of(kBlanks), phones.size()));
    while (!phones.empty()) {
        text += text.empty() ? "" : " ";
        text += takeField(&phones);
    }
    return text;
}

// Whether a line of the dictionary has this phone. Those that it has are found within its first
// lines, so that looking costs less than keeping a list.
bool hasPhone(const Dictionary &dictionary, std::string_view phone)
{
    const std::string &content = dictionary.content;
    auto isBlank = [&](size_t at) {
        return std::string_view{kBlanks}.find(content[at]) != std::string_view::npos;
    };
    for (size_t at = 0; (at = content.find(phone, at)) != std::string::npos; ++at) {
        const size_t end = at + phone.size();
        const bool endsThere =
            end == content.size() || content[end] == '\n' || content[end] == '#' || isBlank(end);
        if (endsThere && at > 0 && isBlank(at - 1)) return true;
    }
    return false;
}

} // namespace

std::shared_ptr<const Dictionary> dictionaryOpen(const std::string &path)
{
    MutexLock lock{dictionariesMutex};
    auto known = dictionaries().find(path);
    if (known != dictionaries().end()) return known->second;
    std::shared_ptr<const Dictionary> dictionary = read(path);
    if (dictionary) dictionaries()[path] = dictionary;
    return dictionary;
}

void dictionariesRelease()
{
    MutexLock lock{dictionariesMutex};
    dictionaries().clear();
}

bool dictionaryLookUp(const Dictionary &dictionary, const std::string &word, Pronunciations *out)
{
    *out = {};
    for (size_t slot = firstSlot(dictionary, word); dictionary.slots[slot] != kEmptySlot;
         slot = slotAfter(dictionary, slot)) {
        uint32_t line = dictionary.slots[slot];
        if (!isSameWord(wordAt(dictionary, line), word)) continue;
        std::string_view rest;
        std::string phones = tidyPhones(phonesAt(dictionary, line, &rest));
        out->push_back({std::move(phones), rest.empty() ? "" : tidyPhones(rest.substr(1))});
    }
    return !out->empty();
}

bool dictionaryHasPhones(const Dictionary &dictionary, const std::string &phones,
                         std::string *unknown)
{
    std::string_view rest = phones;
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlanks), rest.size()));
    while (!rest.empty()) {
        std::string_view phone = takeField(&rest);
        if (hasPhone(dictionary, phone)) continue;
        *unknown = phone;
        return false;
    }
    return true;
}

} // namespace vantel::ostrel
