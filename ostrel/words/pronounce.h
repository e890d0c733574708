// The pronunciations of a grammar's words, from wherever they can be had.
#pragma once

#include "ostrel/words/dictionary.h"
#include "ostrel/words/mandarin.h"

#include <unordered_map>

namespace vantel::ostrel
{

struct Pronouncer {
    std::shared_ptr<const Dictionary> dictionary; // the acoustic model's; never null
    std::shared_ptr<const Dictionary> user;       // may be null
    std::shared_ptr<const PhoneMap> phoneMap;     // null: no Chinese words without a dictionary
    Json inlineWords;                             // {"word": "PH ON ES" or an array of them}
    bool guesses = true;                          // by letter-to-sound rules
    // Whether the model's dictionary has these phones, as far as that was asked.
    mutable std::unordered_map<std::string, bool> knownPhones;
};

// Fails, with the reason in the engine's log, when a dictionary or the phone map cannot be read.
// Keys of the configuration:
//   "dict"      the model's dictionary; without it the English one that comes with the engine
//   "userDict"  a dictionary whose words come before the model's
//   "words"     {"word": "PH ON ES" or an array of such}, before both
//   "phoneMap"  the phones of Chinese syllables; without it those of the English model
//   "guess"     false: words that no dictionary has are errors
bool pronouncerOpen(const cJSON *configuration, Pronouncer *pronouncer);

// All pronunciations of the word: the user's first, then the dictionary's, and only without any of
// these what its parts make or a guess. A Chinese word falls into the longest parts that a
// dictionary has and, between them, characters with their readings. False with the reason, for
// people, when there is none, or when one has a phone that the model's dictionary does not know.
bool pronounce(const Pronouncer &pronouncer, const std::string &word, Pronunciations *out,
               std::string *reason);

} // namespace vantel::ostrel
