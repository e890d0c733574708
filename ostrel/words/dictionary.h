// How words are pronounced.
//
// A dictionary is a text file, one pronunciation a line: the word, blanks, its phones. A further
// pronunciation of a word has "(2)" and so on behind the word. Behind a "#" after the phones
// stands, optionally, the pronunciation as a reader would write it, such as pinyin. Words are
// looked up without regard to the case of ASCII letters.
#pragma once

#include "tools/json.h"

#include <memory>
#include <string>
#include <vector>

namespace vantel::ostrel
{

struct Pronunciation {
    std::string phones;  // "G OW"
    std::string reading; // "" when nothing tells
};

using Pronunciations = std::vector<Pronunciation>; // best first

struct Dictionary;

// The dictionary of that file, shared by the process until the library is released. Null, with the
// reason in the engine's log, when it cannot be read or has no pronunciation in it.
std::shared_ptr<const Dictionary> dictionaryOpen(const std::string &path);
void dictionariesRelease();

// False when the word is not in it.
bool dictionaryLookUp(const Dictionary &dictionary, const std::string &word, Pronunciations *out);

// Whether each of the phones, separated by blanks, occurs in the dictionary. Otherwise *unknown is
// the first that does not.
bool dictionaryHasPhones(const Dictionary &dictionary, const std::string &phones,
                         std::string *unknown);

} // namespace vantel::ostrel
