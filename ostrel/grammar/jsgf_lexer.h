// Splits JSGF text into tokens, with the place of each.
#pragma once

#include "ostrel/grammar/jsgf.h"

namespace vantel::ostrel
{

enum class TokenKind {
    header,   // text: what follows #JSGF up to the semicolon
    word,     // text: as written
    quoted,   // text: between the quotes
    ruleName, // text: between the angle brackets
    tag,      // text: between the outer braces
    weight,   // text: between the slashes
    mark,     // text: one of = | * + ( ) [ ] ;
    broken,   // text: the reason
    end,
};

struct Token {
    TokenKind kind = TokenKind::end;
    std::string text;
    Place place;
};

struct Lexer {
    const std::string *text;
    size_t at = 0;
    Place place;
};

// The lexer refers to `text`.
Lexer lexerOn(const std::string &text);

// The next token. After a broken one the lexer goes on behind it; at the end it stays there.
Token nextToken(Lexer *lexer);

} // namespace vantel::ostrel
