#include "tools/text.h"

namespace vantel
{

size_t utf8Bytes(std::string_view text)
{
    if (text.empty()) return 0;
    auto first = static_cast<unsigned char>(text[0]);
    size_t bytes = first < 0x80                    ? 1
                   : first >= 0xC2 && first < 0xE0 ? 2
                   : first >= 0xE0 && first < 0xF0 ? 3
                   : first >= 0xF0 && first < 0xF5 ? 4
                                                   : 0;
    if (bytes == 0 || bytes > text.size()) return 0;
    for (size_t i = 1; i < bytes; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 0;
    // Surrogates, and characters that would have a shorter form.
    auto second = static_cast<unsigned char>(bytes > 2 ? text[1] : 0);
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
        (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F))
        return 0;
    return bytes;
}

} // namespace vantel
