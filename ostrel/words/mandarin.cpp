#include "ostrel/words/mandarin.h"

#include "ostrel/library.h"
#include "tools/text.h"
#include "tools/thread_safety.h"

#include <algorithm>
#include <charconv>
#include <sstream>

#define MANDARIN_LOG(level, ...) ENGINE_LOG("ostrel/mandarin", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr const char *kReadingsFile = "mandarin/pinyin.txt";
constexpr const char *kPhoneMapFile = "mandarin/phones.txt";

// The blocks of the character database that hold Chinese characters.
struct CharacterRange {
    uint32_t first;
    uint32_t last;
};

constexpr CharacterRange kChinese[] = {
    {0x3007, 0x3007}, // the zero
    {0x3400, 0x4DBF}, {0x4E00, 0x9FFF}, {0xF900, 0xFAFF}, {0x20000, 0x2FA1F}, {0x30000, 0x323AF},
};

// Characters with an index into the lists of readings: a tenth of the memory of a map of texts.
struct ReadingTable {
    struct Entry {
        uint32_t character;
        uint32_t list;
    };
    std::vector<Entry> entries; // in the order of their characters
    std::vector<std::vector<std::string>> lists;
};

Mutex tableMutex;
std::shared_ptr<const ReadingTable> table GUARDED_BY(tableMutex); // null: not read yet

uint32_t codeOf(std::string_view character)
{
    constexpr unsigned kLeadBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    size_t bytes = character.size();
    if (bytes == 0 || bytes > 4) return 0;
    uint32_t code = static_cast<unsigned char>(character[0]) & kLeadBits[bytes];
    for (char c : character.substr(1))
        code = code << 6 | (static_cast<unsigned char>(c) & 0x3FU);
    return code;
}

bool isChinese(uint32_t code)
{
    return std::any_of(std::begin(kChinese), std::end(kChinese), [code](CharacterRange range) {
        return range.first <= code && code <= range.last;
    });
}

std::vector<std::string> split(const std::string &text, char separator)
{
    std::vector<std::string> parts;
    std::istringstream stream{text};
    for (std::string part; std::getline(stream, part, separator);)
        parts.push_back(part);
    return parts;
}

std::shared_ptr<const ReadingTable> readTable()
{
    auto read = std::make_shared<ReadingTable>();
    std::string content;
    std::string path = findResource(kReadingsFile);
    if (path.empty() || !readFile(path, &content)) {
        MANDARIN_LOG(kWarning, "  no %s: Chinese words need a dictionary\n", kReadingsFile);
        return read;
    }
    std::istringstream lines{content};
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields{line};
        std::string readings;
        fields >> readings;
        if (readings.empty() || readings[0] == '#') continue;
        auto list = static_cast<uint32_t>(read->lists.size());
        read->lists.push_back(split(readings, ','));
        for (std::string field; fields >> field;) {
            uint32_t character = 0;
            std::from_chars(field.data(), field.data() + field.size(), character, 16);
            read->entries.push_back({character, list});
        }
    }
    std::sort(read->entries.begin(), read->entries.end(),
              [](const auto &a, const auto &b) { return a.character < b.character; });
    MANDARIN_LOG(kInfo, "  %s: %zu characters\n", path.c_str(), read->entries.size());
    return read;
}

std::shared_ptr<const ReadingTable> readingTable()
{
    MutexLock lock{tableMutex};
    if (!table) table = readTable();
    return table;
}

bool addMapping(const std::string &line, PhoneMap *map)
{
    std::istringstream fields{line};
    std::string kind;
    std::string pinyin;
    std::string phones;
    if (!(fields >> kind) || kind[0] == '#') return true;
    if (!(fields >> pinyin) || !std::getline(fields, phones)) return false;
    PhoneMap::Spoken *spoken = kind == "initial"    ? &map->initials
                               : kind == "final"    ? &map->finals
                               : kind == "syllable" ? &map->syllables
                                                    : nullptr;
    if (!spoken) return false;
    std::vector<std::string> &all = (*spoken)[pinyin];
    for (const std::string &each : split(phones, '|'))
        if (auto trim = trimmed(each, " \t\r"); !trim.empty()) all.emplace_back(trim);
    return !all.empty();
}

bool startsWith(std::string_view text, char c)
{
    return !text.empty() && text[0] == c;
}

// A syllable's initial and final. The orthography writes y and w for i, u and ü where there is no
// initial, and u for ü behind j, q and x.
void splitSyllable(const std::string &syllable, std::string *initial, std::string *final)
{
    constexpr std::string_view kInitials = "bpmfdtnlgkhjqxzcsr";
    initial->clear();
    *final = syllable;
    std::string rest = syllable.substr(std::min<size_t>(1, syllable.size()));
    if (startsWith(syllable, 'y')) {
        if (startsWith(rest, 'i'))
            *final = rest;
        else if (startsWith(rest, 'u'))
            *final = "ü" + rest.substr(1);
        else
            *final = rest == "ou" ? "iu" : "i" + rest;
    } else if (startsWith(syllable, 'w')) {
        if (startsWith(rest, 'u'))
            *final = rest;
        else
            *final = rest == "ei" ? "ui" : rest == "en" ? "un" : "u" + rest;
    } else if (!syllable.empty() && kInitials.find(syllable[0]) != std::string_view::npos) {
        bool hasTwoLetters =
            syllable.starts_with("zh") || syllable.starts_with("ch") || syllable.starts_with("sh");
        *initial = syllable.substr(0, hasTwoLetters ? 2 : 1);
        *final = syllable.substr(initial->size());
        if (std::string_view{"jqx"}.find(*initial) != std::string_view::npos &&
            startsWith(*final, 'u'))
            *final = "ü" + final->substr(1);
    }
}

} // namespace

std::string_view firstCharacter(std::string_view text)
{
    return text.substr(0, std::max<size_t>(utf8Bytes(text), 1));
}

bool hasChinese(std::string_view text)
{
    while (!text.empty()) {
        std::string_view character = firstCharacter(text);
        if (isChinese(codeOf(character))) return true;
        text.remove_prefix(character.size());
    }
    return false;
}

std::vector<std::string> readingsOf(std::string_view character)
{
    uint32_t code = codeOf(character);
    if (!isChinese(code)) return {};
    std::shared_ptr<const ReadingTable> all = readingTable();
    auto at =
        std::lower_bound(all->entries.begin(), all->entries.end(), code,
                         [](const auto &entry, uint32_t key) { return entry.character < key; });
    if (at == all->entries.end() || at->character != code) return {};
    return all->lists[at->list];
}

void readingsRelease()
{
    MutexLock lock{tableMutex};
    table.reset();
}

std::shared_ptr<const PhoneMap> phoneMapOpen(const std::string &path)
{
    std::string file = path.empty() ? findResource(kPhoneMapFile) : path;
    std::string content;
    auto map = std::make_shared<PhoneMap>();
    if (file.empty() || !readFile(file, &content)) {
        MANDARIN_LOG(kError, "  cannot read the phone map %s\n",
                     file.empty() ? kPhoneMapFile : file.c_str());
        return nullptr;
    }
    std::istringstream lines{content};
    int32_t number = 0;
    for (std::string line; std::getline(lines, line);) {
        ++number;
        if (addMapping(line, map.get())) continue;
        MANDARIN_LOG(kError, "  %s:%d: no line of a phone map\n", file.c_str(), number);
        return nullptr;
    }
    return map;
}

std::vector<std::string> phonesOf(const PhoneMap &map, const std::string &syllable)
{
    auto whole = map.syllables.find(syllable);
    if (whole != map.syllables.end()) return whole->second;
    std::string initial;
    std::string final;
    splitSyllable(syllable, &initial, &final);
    auto tail = map.finals.find(final);
    if (tail == map.finals.end()) return {};
    if (initial.empty()) return tail->second;
    auto head = map.initials.find(initial);
    if (head == map.initials.end()) return {};
    std::vector<std::string> all;
    for (const std::string &front : head->second)
        for (const std::string &back : tail->second)
            all.push_back(front + " " + back);
    return all;
}

} // namespace vantel::ostrel
