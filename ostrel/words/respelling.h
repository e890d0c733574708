// Words that a vocabulary lacks, put in words that it has.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vantel::ostrel
{

using KnowsWord = std::function<bool(const std::string &word)>;

// The words of the vocabulary that stand for `word`: itself, the same without hyphens, its parts
// between them, or two words of three letters or more that it can be cut into, of which the shorter
// is as long as can be ("snowboy" is "snow boy"). Empty when there are none.
std::vector<std::string> respell(const std::string &word, const KnowsWord &knows);

// The words of a text between its blanks, and the words as a text again.
std::vector<std::string> splitWords(const std::string &text);
std::string joinWords(std::span<const std::string> words, const char *separator = " ");

} // namespace vantel::ostrel
