// Whole files as texts.
#pragma once

#include <cstddef>
#include <string>

namespace vantel
{

// Models are the longest files that are read.
constexpr size_t kLongestFileBytes = size_t{1} << 30;
// Texts that people write, and what is made of them.
constexpr size_t kLongestTextBytes = size_t{16} << 20;

// False when the file, whose path is UTF-8, cannot be read, is no regular file or is longer than
// `mostBytes`; what was read before that showed is dropped.
bool readFile(const std::string &path, std::string *content, size_t mostBytes = kLongestFileBytes);

// Replaces the file. False when it cannot be written whole, or the text is null.
bool writeFile(const std::string &path, const char *text);

} // namespace vantel
