// Text to the tokens of a model whose vocabulary was made by joining pairs of bytes.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace vantel::ostrel
{

// Number of each token. A token is written with a character for each of its bytes: the printable
// ones stand for themselves, the others for characters from U+0100 on.
using BytePairs = std::unordered_map<std::string, int64_t>;

// Reads the vocabulary's JSON object of tokens and numbers; empty when it is none, or lacks a byte.
BytePairs bytePairsRead(const std::string &json);

// The tokens of a text without blanks: of all neighbours the pair with the lowest number is joined,
// until none is in the vocabulary.
std::vector<int64_t> bytePairsSplit(const BytePairs &vocabulary, const std::string &text);

} // namespace vantel::ostrel
