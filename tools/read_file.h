// Whole files as texts.
#pragma once

#include <string>

namespace vantel
{

// False when the file, whose path is UTF-8, cannot be read.
bool readFile(const std::string &path, std::string *content);

// Replaces the file. False when it cannot be written whole, or the text is null.
bool writeFile(const std::string &path, const char *text);

} // namespace vantel
