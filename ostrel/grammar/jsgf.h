// The reader of JSGF grammars: text to a tree of rules, or a list of what is wrong with it.
//
// Understood are rules, alternatives with weights, groups, [optional] parts, * and +, quoted texts,
// tags, <NULL>, <VOID> and both kinds of comment. A tag reaches to its matching brace, braces
// inside JSON strings not counted, so that it can hold JSON. Import statements are refused. Words
// are any UTF-8 and turn to lower case where they are ASCII.
#pragma once

#include "ostrel/grammar/grammar_tag.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantel::ostrel
{

// Both count from 1; columns are characters, not bytes.
struct Place {
    int32_t line = 1;
    int32_t column = 1;
};

struct Diagnostic {
    Place place;
    std::string message;
};

using Diagnostics = std::vector<Diagnostic>;

enum class NodeKind {
    nothing,  // <NULL>: matches no word
    never,    // <VOID>: never matches
    word,     // index into words
    rule,     // index into rules
    tag,      // index into tags; matches no word
    sequence, // children one after the other
    choice,   // one of the children
    optional, // its one child or nothing
    star,     // its one child any number of times
    plus,     // its one child once or more
};

struct Node {
    NodeKind kind = NodeKind::nothing;
    int32_t index = -1;
    std::vector<int32_t> children; // indices into nodes
    std::vector<double> weights;   // of a choice's children; empty when none has a weight
    Place place;
};

struct Rule {
    std::string name;
    bool isPublic = false;
    int32_t body = -1; // index into nodes; -1 while it is undefined
    Place place;       // of its definition, else of the first reference
};

struct Word {
    std::string text;
    Place place; // of its first use
};

struct RuleTree {
    std::string name;
    std::vector<Node> nodes;
    std::vector<Rule> rules;
    std::vector<Word> words; // each text once
    std::vector<GrammarTag> tags;
};

// True and the tree, or false and at least one diagnostic, in the order of the text. What is
// checked: syntax, tags, that every rule is defined once, that some rule is public, that no rule
// refers to itself before a word. The bounds: 4 MiB of text, groups 100 deep, 60,000 words of 240
// bytes, 512 KiB of words in all.
bool readJsgf(const std::string &text, RuleTree *tree, Diagnostics *diagnostics);

// The part of readJsgf that looks at whole rules; the syntax is right.
void checkRules(const RuleTree &tree, Diagnostics *diagnostics);

// The indices of the public rules in the order of the text.
std::vector<int32_t> publicRules(const RuleTree &tree);

} // namespace vantel::ostrel
