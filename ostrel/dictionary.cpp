#include "ostrel/dictionary.h"

#include "ostrel/library.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <string_view>

#define DICTIONARY_LOG(level, ...) ENGINE_LOG("ostrel/dictionary", level, __VA_ARGS__)

namespace vantel::ostrel
{

// The file as it is and where its lines begin, in the order of their words: a fifth of the memory
// of a map of texts.
struct Dictionary {
    std::string content;
    std::vector<uint32_t> lines;
    std::set<std::string, std::less<>> phones;
};

namespace
{

constexpr const char *kBlanks = " \t\r";

std::mutex dictionariesMutex;
std::map<std::string, std::shared_ptr<const Dictionary>> &dictionaries() // guarded by the mutex
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

bool isBefore(std::string_view a, std::string_view b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return static_cast<unsigned char>(lower(x)) < static_cast<unsigned char>(lower(y));
    });
}

void addLine(Dictionary *dictionary, uint32_t begin)
{
    std::string_view line = lineAt(*dictionary, begin);
    if (line.empty() || line[0] == '#' || line.starts_with(";;;")) return;
    std::string_view word = takeField(&line);
    if (word.empty() || line.empty() || line[0] == '#') return;
    dictionary->lines.push_back(begin);
    while (!line.empty() && line[0] != '#') {
        std::string_view phone = takeField(&line);
        if (dictionary->phones.find(phone) == dictionary->phones.end())
            dictionary->phones.emplace(phone);
    }
}

std::shared_ptr<const Dictionary> read(const std::string &path)
{
    auto dictionary = std::make_shared<Dictionary>();
    if (!readFile(path, &dictionary->content)) {
        DICTIONARY_LOG(kError, "  cannot read the dictionary %s\n", path.c_str());
        return nullptr;
    }
    const std::string &content = dictionary->content;
    for (size_t begin = 0; begin < content.size();) {
        addLine(dictionary.get(), static_cast<uint32_t>(begin));
        begin = std::min(content.find('\n', begin), content.size() - 1) + 1;
    }
    if (dictionary->lines.empty()) {
        DICTIONARY_LOG(kError, "  no pronunciation in the dictionary %s\n", path.c_str());
        return nullptr;
    }
    std::stable_sort(dictionary->lines.begin(), dictionary->lines.end(),
                     [&](uint32_t a, uint32_t b) {
                         return isBefore(wordAt(*dictionary, a), wordAt(*dictionary, b));
                     });
    DICTIONARY_LOG(kInfo, "  dictionary %s: %zu pronunciations\n", path.c_str(),
                   dictionary->lines.size());
    return dictionary;
}

} // namespace

std::shared_ptr<const Dictionary> dictionaryOpen(const std::string &path)
{
    std::lock_guard lock{dictionariesMutex};
    auto known = dictionaries().find(path);
    if (known != dictionaries().end()) return known->second;
    std::shared_ptr<const Dictionary> dictionary = read(path);
    if (dictionary) dictionaries()[path] = dictionary;
    return dictionary;
}

void dictionariesRelease()
{
    std::lock_guard lock{dictionariesMutex};
    dictionaries().clear();
}

bool dictionaryLookUp(const Dictionary &dictionary, const std::string &word, Pronunciations *out)
{
    *out = {};
    auto at = std::lower_bound(dictionary.lines.begin(), dictionary.lines.end(), word,
                               [&](uint32_t line, const std::string &key) {
                                   return isBefore(wordAt(dictionary, line), key);
                               });
    for (; at != dictionary.lines.end() && !isBefore(word, wordAt(dictionary, *at)); ++at) {
        std::string_view line = lineAt(dictionary, *at);
        takeField(&line);
        Pronunciation found;
        while (!line.empty() && line[0] != '#') {
            found.phones += found.phones.empty() ? "" : " ";
            found.phones += takeField(&line);
        }
        if (!line.empty()) {
            line.remove_prefix(std::min(line.find_first_not_of(kBlanks, 1), line.size()));
            size_t end = line.find_last_not_of(kBlanks);
            found.reading = line.substr(0, end == std::string_view::npos ? 0 : end + 1);
        }
        out->push_back(std::move(found));
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
        if (dictionary.phones.find(phone) != dictionary.phones.end()) continue;
        *unknown = phone;
        return false;
    }
    return true;
}

} // namespace vantel::ostrel
