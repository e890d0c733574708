// A guess at the pronunciation of words that no dictionary has.
#pragma once

#include <string>

namespace vantel::ostrel
{

// English words of the letters a to z, with apostrophes: phones separated by blanks. Empty for any
// other word, and where no rules are at hand.
std::string letterToSound(const std::string &word);

} // namespace vantel::ostrel
