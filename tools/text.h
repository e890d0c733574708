// Small questions about texts, for everybody.
#pragma once

#include <cstddef>
#include <string_view>

namespace vantel
{

// The text without any of `blanks` at its ends.
inline std::string_view trimmed(std::string_view text, std::string_view blanks = " ")
{
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

// The bytes of the UTF-8 character that begins the text; 0 when none does.
size_t utf8Bytes(std::string_view text);

} // namespace vantel
