#include "apps/input_text.h"

#include "platform/console.h"
#include "tools/read_file.h"

namespace vantel::app
{

std::string inputText()
{
    constexpr size_t kLongest = 5 << 20;
    std::string text;
    char block[4096];
    while (size_t bytes = platformReadInput(block, sizeof block)) {
        text.append(block, bytes);
        if (text.size() > kLongest) break;
    }
    return text;
}

bool readInput(const std::string &path, std::string *text)
{
    if (path != kStandardInput) return readFile(path, text, kLongestTextBytes);
    *text = inputText();
    return true;
}

} // namespace vantel::app
