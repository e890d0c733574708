#include "ostrel/words/respelling.h"

#include <algorithm>

namespace vantel::ostrel
{
namespace
{

std::vector<std::string> split(const std::string &text, const char *separators)
{
    std::vector<std::string> parts;
    for (size_t at = text.find_first_not_of(separators); at != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(separators, at), text.size());
        parts.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(separators, end);
    }
    return parts;
}

bool knowsAll(const std::vector<std::string> &words, const KnowsWord &knows)
{
    return !words.empty() && std::all_of(words.begin(), words.end(), knows);
}

// Shorter words of the vocabulary are mostly letters and syllables that anything could be cut into.
constexpr size_t kShortestPart = 3;

std::vector<std::string> cutInTwo(const std::string &word, const KnowsWord &knows)
{
    std::vector<std::string> best;
    size_t bestShorter = 0;
    for (size_t at = kShortestPart; at + kShortestPart <= word.size(); ++at) {
        std::vector<std::string> parts{word.substr(0, at), word.substr(at)};
        const size_t shorter = std::min(at, word.size() - at);
        if (shorter <= bestShorter || !knowsAll(parts, knows)) continue;
        best = std::move(parts);
        bestShorter = shorter;
    }
    return best;
}

} // namespace

std::vector<std::string> splitWords(const std::string &text)
{
    return split(text, " \t");
}

std::string joinWords(std::span<const std::string> words, const char *separator)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::vector<std::string> respell(const std::string &word, const KnowsWord &knows)
{
    if (knows(word)) return {word};
    std::vector<std::string> parts = split(word, "-_");
    std::string together;
    for (const std::string &part : parts)
        together += part;
    if (!together.empty() && knows(together)) return {together};
    if (parts.size() > 1 && knowsAll(parts, knows)) return parts;
    return cutInTwo(together, knows);
}

} // namespace vantel::ostrel
