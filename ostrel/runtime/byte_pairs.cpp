#include "ostrel/runtime/byte_pairs.h"

#include "tools/json.h"

#include <array>

namespace vantel::ostrel
{
namespace
{

using Characters = std::array<std::string, 256>;

// The character for each byte: itself where it is printable as Latin-1, else the next one from
// U+0100 on. Both lie below U+0800, so two bytes of UTF-8 at most.
Characters makeCharacters()
{
    Characters characters;
    unsigned next = 0x100;
    for (unsigned byte = 0; byte < characters.size(); ++byte) {
        const bool isPrintable = (byte > 0x20 && byte < 0x7F) || (byte > 0xA0 && byte != 0xAD);
        const unsigned code = isPrintable ? byte : next++;
        if (code < 0x80)
            characters[byte] = {static_cast<char>(code)};
        else
            characters[byte] = {static_cast<char>(0xC0 | code >> 6),
                                static_cast<char>(0x80 | (code & 0x3F))};
    }
    return characters;
}

const Characters &characters()
{
    static const Characters made = makeCharacters();
    return made;
}

} // namespace

BytePairs bytePairsRead(const std::string &json)
{
    BytePairs vocabulary;
    Json root = jsonParse(json.c_str());
    const cJSON *token = nullptr;
    cJSON_ArrayForEach(token, root.get())
    {
        if (token->string && cJSON_IsNumber(token)) vocabulary[token->string] = token->valueint;
    }
    for (const std::string &character : characters())
        if (!vocabulary.contains(character)) return {};
    return vocabulary;
}

std::vector<int64_t> bytePairsSplit(const BytePairs &vocabulary, const std::string &text)
{
    std::vector<std::string> parts;
    for (char byte : text)
        parts.push_back(characters()[static_cast<uint8_t>(byte)]);
    for (;;) {
        size_t best = parts.size();
        int64_t lowest = INT64_MAX;
        for (size_t i = 0; i + 1 < parts.size(); ++i) {
            auto pair = vocabulary.find(parts[i] + parts[i + 1]);
            if (pair == vocabulary.end() || pair->second >= lowest) continue;
            best = i;
            lowest = pair->second;
        }
        if (best == parts.size()) break;
        parts[best] += parts[best + 1];
        parts.erase(parts.begin() + static_cast<ptrdiff_t>(best) + 1);
    }
    std::vector<int64_t> tokens;
    for (const std::string &part : parts)
        tokens.push_back(vocabulary.at(part));
    return tokens;
}

} // namespace vantel::ostrel
