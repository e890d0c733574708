#include "ostrel/runtime/transcript_text.h"

#include "tools/text.h"

#include <cctype>
#include <charconv>
#include <string_view>

namespace vantel::ostrel
{
namespace
{

constexpr std::string_view kWordStart = "\xE2\x96\x81"; // begins a word in a token's text
constexpr int64_t kFirstWordToken = 3;                  // below: unknown, begin, end

// Appends what one token spells: "<0xE4>" is a byte.
void spell(std::string_view token, std::string *text)
{
    unsigned byte = 0;
    if (token.size() == 6 && token.starts_with("<0x") &&
        std::from_chars(token.data() + 3, token.data() + 5, byte, 16).ec == std::errc{}) {
        text->push_back(static_cast<char>(byte));
        return;
    }
    for (size_t i = 0; i < token.size();) {
        if (token.substr(i).starts_with(kWordStart)) {
            text->push_back(' ');
            i += kWordStart.size();
        } else {
            text->push_back(token[i++]);
        }
    }
}

bool isAlnum(char c)
{
    return static_cast<unsigned char>(c) >= 0x80 || std::isalnum(static_cast<unsigned char>(c));
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// Signs of the general punctuation block become the ones of ASCII that mean the same.
std::string plainPunctuation(const std::string &text)
{
    constexpr std::string_view kApostrophe = "\xE2\x80\x99";
    std::string plain;
    for (size_t i = 0; i < text.size();) {
        std::string_view rest = std::string_view{text}.substr(i);
        if (rest.starts_with(kApostrophe)) {
            plain.push_back('\'');
            i += kApostrophe.size();
        } else if (rest.size() >= 3 && rest.starts_with("\xE2\x80")) {
            plain.push_back(' ');
            i += 3;
        } else {
            plain.push_back(text[i++]);
        }
    }
    return plain;
}

} // namespace

std::vector<std::string> vocabularyRead(const std::string &lines)
{
    std::vector<std::string> vocabulary;
    for (size_t at = 0; at < lines.size();) {
        size_t end = std::min(lines.find('\n', at), lines.size());
        vocabulary.push_back(lines.substr(at, end - at));
        at = end + 1;
    }
    return vocabulary;
}

std::string vocabularySpell(const std::vector<std::string> &vocabulary,
                            std::span<const int64_t> tokens)
{
    std::string spelled;
    for (int64_t token : tokens)
        if (token >= kFirstWordToken && token < static_cast<int64_t>(vocabulary.size()))
            spell(vocabulary[static_cast<size_t>(token)], &spelled);
    std::string text;
    for (size_t i = 0; i < spelled.size();) {
        size_t bytes = utf8Bytes(std::string_view{spelled}.substr(i));
        text.append(spelled, i, bytes);
        i += bytes > 0 ? bytes : 1;
    }
    return std::string{trimmed(text)};
}

std::string transcriptWords(const std::string &text)
{
    std::string plain = plainPunctuation(text);
    std::string words;
    for (size_t i = 0; i < plain.size(); ++i) {
        char c = plain[i];
        char before = i > 0 ? plain[i - 1] : ' ';
        char after = i + 1 < plain.size() ? plain[i + 1] : ' ';
        bool stays = isAlnum(c) || (c == '\'' && isAlnum(before) && isAlnum(after)) ||
                     (c == '.' && isDigit(before) && isDigit(after));
        if (stays)
            words.push_back(static_cast<unsigned char>(c) < 0x80
                                ? static_cast<char>(std::tolower(static_cast<unsigned char>(c)))
                                : c);
        else if (!words.empty() && words.back() != ' ')
            words.push_back(' ');
    }
    return std::string{trimmed(words)};
}

} // namespace vantel::ostrel
