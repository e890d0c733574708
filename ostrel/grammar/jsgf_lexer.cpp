#include "ostrel/grammar/jsgf_lexer.h"

#include <cstring>

namespace vantel::ostrel
{
namespace
{

constexpr const char *kMarks = "=|*+()[];";
constexpr const char *kNotInWords = "=|*+()[];<>{}/\"";
constexpr const char *kByteOrderMark = "\xEF\xBB\xBF";

bool isBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\f' || c == '\v';
}

bool atEnd(const Lexer &lexer)
{
    return lexer.at >= lexer.text->size();
}

char here(const Lexer &lexer)
{
    return atEnd(lexer) ? '\0' : (*lexer.text)[lexer.at];
}

bool startsWith(const Lexer &lexer, const char *what)
{
    return lexer.text->compare(lexer.at, std::strlen(what), what) == 0;
}

char take(Lexer *lexer)
{
    char c = (*lexer->text)[lexer->at++];
    bool continuation = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
    if (c == '\n') {
        lexer->place = {lexer->place.line + 1, 1};
    } else if (!continuation) {
        lexer->place.column++;
    }
    return c;
}

// False when a block comment never ends.
bool skipBlanksAndComments(Lexer *lexer)
{
    while (!atEnd(*lexer)) {
        if (isBlank(here(*lexer))) {
            take(lexer);
        } else if (startsWith(*lexer, "//")) {
            while (!atEnd(*lexer) && here(*lexer) != '\n')
                take(lexer);
        } else if (startsWith(*lexer, "/*")) {
            take(lexer);
            take(lexer);
            while (!atEnd(*lexer) && !startsWith(*lexer, "*/"))
                take(lexer);
            if (atEnd(*lexer)) return false;
            take(lexer);
            take(lexer);
        } else {
            break;
        }
    }
    return true;
}

// What lies between the mark at which the lexer stands and the next `closing`, on one line.
void takeEnclosed(Lexer *lexer, char closing, TokenKind kind, const char *complaint, Token *token)
{
    take(lexer);
    while (!atEnd(*lexer) && here(*lexer) != closing && here(*lexer) != '\n') {
        if (here(*lexer) == '\\' && kind == TokenKind::quoted) {
            take(lexer);
            if (atEnd(*lexer)) break;
        }
        token->text += take(lexer);
    }
    if (here(*lexer) != closing) {
        token->kind = TokenKind::broken;
        token->text = complaint;
        return;
    }
    take(lexer);
    token->kind = kind;
}

void takeTag(Lexer *lexer, Token *token)
{
    int depth = 0;
    bool inString = false;
    do {
        char c = take(lexer);
        token->text += c;
        if (c == '\\' && !atEnd(*lexer)) {
            token->text += take(lexer);
        } else if (c == '"') {
            inString = !inString;
        } else if (!inString && c == '{') {
            depth++;
        } else if (!inString && c == '}') {
            depth--;
        }
    } while (depth > 0 && !atEnd(*lexer));
    if (depth > 0) {
        token->kind = TokenKind::broken;
        token->text = "this tag has no closing brace";
        return;
    }
    token->kind = TokenKind::tag;
    token->text = token->text.substr(1, token->text.size() - 2);
}

void takeHeader(Lexer *lexer, Token *token)
{
    while (!atEnd(*lexer) && here(*lexer) != ';' && here(*lexer) != '\n')
        token->text += take(lexer);
    if (here(*lexer) != ';') {
        token->kind = TokenKind::broken;
        token->text = "the first line ends with a semicolon";
        return;
    }
    take(lexer);
    token->kind = TokenKind::header;
}

void takeWord(Lexer *lexer, Token *token)
{
    token->kind = TokenKind::word;
    while (!atEnd(*lexer) && !isBlank(here(*lexer)) && !std::strchr(kNotInWords, here(*lexer))) {
        if (here(*lexer) == '\\' && lexer->at + 1 < lexer->text->size()) take(lexer);
        token->text += take(lexer);
    }
}

} // namespace

Lexer lexerOn(const std::string &text)
{
    Lexer lexer{&text, 0, {}};
    if (startsWith(lexer, kByteOrderMark)) lexer.at = std::strlen(kByteOrderMark);
    return lexer;
}

Token nextToken(Lexer *lexer)
{
    Token token;
    Place start = lexer->place;
    if (!skipBlanksAndComments(lexer)) {
        token.kind = TokenKind::broken;
        token.text = "a comment that begins after this place never ends";
        token.place = start;
        return token;
    }
    token.place = lexer->place;
    if (atEnd(*lexer)) return token;
    char c = here(*lexer);
    if (c == '\0') {
        token.kind = TokenKind::broken;
        token.text = "a zero byte";
        take(lexer);
    } else if (std::strchr(kMarks, c)) {
        token.kind = TokenKind::mark;
        token.text = std::string(1, take(lexer));
    } else if (c == '<') {
        takeEnclosed(lexer, '>', TokenKind::ruleName, "this rule name has no closing >", &token);
    } else if (c == '"') {
        takeEnclosed(lexer, '"', TokenKind::quoted, "this text has no closing quote", &token);
    } else if (c == '/') {
        takeEnclosed(lexer, '/', TokenKind::weight, "this weight has no closing /", &token);
    } else if (c == '{') {
        takeTag(lexer, &token);
    } else if (c == '>' || c == '}') {
        token.kind = TokenKind::broken;
        token.text = std::string("a ") + c + " that closes nothing";
        take(lexer);
    } else if (c == '#') {
        takeHeader(lexer, &token);
    } else {
        takeWord(lexer, &token);
    }
    return token;
}

} // namespace vantel::ostrel
