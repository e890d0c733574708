// How Chinese characters are read, and how readings are spoken with a model's phones.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vantel::ostrel
{

// Whether the text has a Chinese character in it.
bool hasChinese(std::string_view text);

// The first character of UTF-8 text; a byte that begins none counts as one. Not for empty texts.
std::string_view firstCharacter(std::string_view text);

// The readings of a Chinese character, toneless pinyin, the most frequent first; none when it is
// no Chinese character or the engine came without the table.
std::vector<std::string> readingsOf(std::string_view character);
void readingsRelease();

// The file of a phone map: lines of "initial", "final" or "syllable", the pinyin, and its phones;
// "|" stands between different pronunciations, the best first.
struct PhoneMap {
    using Spoken = std::map<std::string, std::vector<std::string>, std::less<>>;
    Spoken initials;
    Spoken finals;
    Spoken syllables;
};

// The map of that file, or the one that comes with the engine for an empty path. Null, with the
// reason in the engine's log, when it cannot be read.
std::shared_ptr<const PhoneMap> phoneMapOpen(const std::string &path);

// The pronunciations of a toneless syllable, the best first; none when a part of it is not mapped.
std::vector<std::string> phonesOf(const PhoneMap &map, const std::string &syllable);

} // namespace vantel::ostrel
