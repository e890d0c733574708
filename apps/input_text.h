// Texts that come from a file or through standard input.
#pragma once

#include <string>

namespace vantel::app
{

// What stands for standard input where a file is named.
constexpr char kStandardInput[] = "-";

// All of standard input, but no more than 5 MiB: nothing that is read as a text is that long.
std::string inputText();

// The file, or standard input for kStandardInput. False when it cannot be read.
bool readInput(const std::string &path, std::string *text);

} // namespace vantel::app
