// Tokens of the transcriber's model to text, and text to words.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace vantel::ostrel
{

// The texts of the tokens in order, one on each line.
std::vector<std::string> vocabularyRead(const std::string &lines);

// The text that the tokens spell, without blanks at its ends. Tokens outside the vocabulary spell
// nothing; bytes that are not UTF-8 together are left out.
std::string vocabularySpell(const std::vector<std::string> &vocabulary,
                            std::span<const int64_t> tokens);

// The words of a text in lower case, separated by single blanks, without punctuation; an apostrophe
// inside a word stays, and so does a point inside a number.
std::string transcriptWords(const std::string &text);

} // namespace vantel::ostrel
