#include "ostrel/grammar/jsgf.h"

#include "ostrel/grammar/jsgf_lexer.h"

#include <cstdlib>
#include <unordered_map>

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxTextBytes = 4 << 20;
constexpr int32_t kMaxGroupDepth = 100;
// What finding the pronunciations of words may cost.
constexpr size_t kMaxWordBytes = 240;
constexpr size_t kMaxWords = 60'000;
constexpr size_t kMaxWordsBytes = 512 << 10;
constexpr size_t kMaxDiagnostics = 20; // the rest rarely says anything new

constexpr int32_t kFailed = -1; // in place of a node

struct Reader {
    Lexer lexer;
    Token token; // the one to be read next
    RuleTree *tree;
    Diagnostics *diagnostics;
    std::unordered_map<std::string, int32_t> words;
    std::unordered_map<std::string, int32_t> rules;
    int32_t depth = 0;
    size_t wordsBytes = 0; // of the different words
};

void advance(Reader *reader)
{
    reader->token = nextToken(&reader->lexer);
}

void complain(Reader *reader, Place place, std::string message)
{
    if (reader->diagnostics->size() < kMaxDiagnostics)
        reader->diagnostics->push_back({place, std::move(message)});
}

bool isMark(const Reader &reader, const char *mark)
{
    return reader.token.kind == TokenKind::mark && reader.token.text == mark;
}

std::string shown(const Token &token)
{
    switch (token.kind) {
    case TokenKind::ruleName:
        return "<" + token.text + ">";
    case TokenKind::quoted:
        return "\"" + token.text + "\"";
    case TokenKind::tag:
        return "a tag";
    case TokenKind::weight:
        return "a weight";
    case TokenKind::end:
        return "the end of the text";
    case TokenKind::header:
    case TokenKind::word:
    case TokenKind::mark:
    case TokenKind::broken:
        break;
    }
    return token.text;
}

// Says what was wanted instead of the next token; a broken token speaks for itself.
int32_t unexpected(Reader *reader, const std::string &wanted)
{
    const Token &token = reader->token;
    complain(reader, token.place,
             token.kind == TokenKind::broken ? token.text
                                             : "expected " + wanted + ", not " + shown(token));
    return kFailed;
}

void skipStatement(Reader *reader)
{
    while (reader->token.kind != TokenKind::end && !isMark(*reader, ";"))
        advance(reader);
    if (isMark(*reader, ";")) advance(reader);
}

int32_t addNode(Reader *reader, NodeKind kind, Place place, int32_t index = -1)
{
    Node node;
    node.kind = kind;
    node.place = place;
    node.index = index;
    reader->tree->nodes.push_back(std::move(node));
    return static_cast<int32_t>(reader->tree->nodes.size()) - 1;
}

std::string lowerCase(std::string text)
{
    for (char &c : text)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return text;
}

int32_t wordNode(Reader *reader, const std::string &written, Place place)
{
    std::string text = lowerCase(written);
    auto [entry, isNew] =
        reader->words.try_emplace(text, static_cast<int32_t>(reader->tree->words.size()));
    if (isNew) {
        reader->tree->words.push_back({text, place});
        reader->wordsBytes += text.size();
        if (text.size() > kMaxWordBytes) complain(reader, place, "a word longer than 240 bytes");
        if (entry->second == kMaxWords || (reader->wordsBytes > kMaxWordsBytes &&
                                           reader->wordsBytes - text.size() <= kMaxWordsBytes))
            complain(reader, place,
                     "the grammar has too many words: more than 60000, or 512 KiB of them");
    }
    return addNode(reader, NodeKind::word, place, entry->second);
}

int32_t ruleIndex(Reader *reader, const std::string &name, Place place)
{
    auto [entry, isNew] =
        reader->rules.try_emplace(name, static_cast<int32_t>(reader->tree->rules.size()));
    if (isNew) {
        Rule rule;
        rule.name = name;
        rule.place = place;
        reader->tree->rules.push_back(std::move(rule));
    }
    return entry->second;
}

// <grammar.rule> names the rule of this grammar when the grammar's name is in front.
std::string localName(const Reader &reader, const std::string &name)
{
    const std::string prefix = reader.tree->name + ".";
    return name.starts_with(prefix) ? name.substr(prefix.size()) : name;
}

int32_t readReference(Reader *reader)
{
    Token token = reader->token;
    if (token.text.empty()) return unexpected(reader, "a name between < and >");
    advance(reader);
    if (token.text == "NULL") return addNode(reader, NodeKind::nothing, token.place);
    if (token.text == "VOID") return addNode(reader, NodeKind::never, token.place);
    return addNode(reader, NodeKind::rule, token.place,
                   ruleIndex(reader, localName(*reader, token.text), token.place));
}

// The words between quotes, one after the other.
int32_t readQuoted(Reader *reader)
{
    Token token = reader->token;
    int32_t sequence = addNode(reader, NodeKind::sequence, token.place);
    std::vector<int32_t> children;
    size_t at = 0;
    while ((at = token.text.find_first_not_of(" \t", at)) != std::string::npos) {
        size_t end = std::min(token.text.find_first_of(" \t", at), token.text.size());
        children.push_back(wordNode(reader, token.text.substr(at, end - at), token.place));
        at = end;
    }
    if (children.empty()) return unexpected(reader, "a word between the quotes");
    advance(reader);
    reader->tree->nodes[static_cast<size_t>(sequence)].children = std::move(children);
    return sequence;
}

int32_t readTagNode(Reader *reader)
{
    GrammarTag tag;
    std::string reason;
    if (!readTag(reader->token.text, &tag, &reason)) {
        complain(reader, reader->token.place, reason);
        return kFailed;
    }
    reader->tree->tags.push_back(std::move(tag));
    int32_t node = addNode(reader, NodeKind::tag, reader->token.place,
                           static_cast<int32_t>(reader->tree->tags.size()) - 1);
    advance(reader);
    return node;
}

int32_t readChoice(Reader *reader);

int32_t readGroup(Reader *reader)
{
    bool isOptional = isMark(*reader, "[");
    const char *closing = isOptional ? "]" : ")";
    Place place = reader->token.place;
    if (reader->depth == kMaxGroupDepth) {
        complain(reader, place, "groups are nested too deep");
        return kFailed;
    }
    advance(reader);
    reader->depth++;
    int32_t inner = readChoice(reader);
    reader->depth--;
    if (inner == kFailed) return kFailed;
    if (!isMark(*reader, closing)) return unexpected(reader, std::string("| or ") + closing);
    advance(reader);
    if (!isOptional) return inner;
    int32_t node = addNode(reader, NodeKind::optional, place);
    reader->tree->nodes[static_cast<size_t>(node)].children = {inner};
    return node;
}

int32_t readItem(Reader *reader)
{
    Token token = reader->token;
    int32_t item = kFailed;
    if (token.kind == TokenKind::tag) return readTagNode(reader);
    if (token.kind == TokenKind::word) {
        item = wordNode(reader, token.text, token.place);
        advance(reader);
    } else if (token.kind == TokenKind::quoted) {
        item = readQuoted(reader);
    } else if (token.kind == TokenKind::ruleName) {
        item = readReference(reader);
    } else if (isMark(*reader, "(") || isMark(*reader, "[")) {
        item = readGroup(reader);
    } else {
        return unexpected(reader, "a word, a <rule> or a group");
    }
    while (item != kFailed && (isMark(*reader, "*") || isMark(*reader, "+"))) {
        NodeKind kind = isMark(*reader, "*") ? NodeKind::star : NodeKind::plus;
        int32_t node = addNode(reader, kind, token.place);
        reader->tree->nodes[static_cast<size_t>(node)].children = {item};
        item = node;
        advance(reader);
    }
    return item;
}

bool endsSequence(const Reader &reader)
{
    return isMark(reader, "|") || isMark(reader, ")") || isMark(reader, "]") ||
           isMark(reader, ";") || reader.token.kind == TokenKind::end;
}

int32_t readSequence(Reader *reader)
{
    Place place = reader->token.place;
    std::vector<int32_t> children;
    do {
        int32_t item = readItem(reader);
        if (item == kFailed) return kFailed;
        children.push_back(item);
    } while (!endsSequence(*reader));
    if (children.size() == 1) return children[0];
    int32_t node = addNode(reader, NodeKind::sequence, place);
    reader->tree->nodes[static_cast<size_t>(node)].children = std::move(children);
    return node;
}

// 1 where there is no weight; false for one that is no positive number.
bool readWeight(Reader *reader, double *weight, bool *given)
{
    if (reader->token.kind != TokenKind::weight) return true;
    char *end = nullptr;
    *weight = std::strtod(reader->token.text.c_str(), &end);
    if (end == reader->token.text.c_str() || !(*weight > 0) || *weight > 1e9) {
        complain(reader, reader->token.place, "a weight is a positive number");
        return false;
    }
    *given = true;
    advance(reader);
    return true;
}

int32_t readChoice(Reader *reader)
{
    Node choice;
    choice.kind = NodeKind::choice;
    choice.place = reader->token.place;
    bool hasWeights = false;
    for (;;) {
        double weight = 1;
        if (!readWeight(reader, &weight, &hasWeights)) return kFailed;
        int32_t alternative = readSequence(reader);
        if (alternative == kFailed) return kFailed;
        choice.children.push_back(alternative);
        choice.weights.push_back(weight);
        if (!isMark(*reader, "|")) break;
        advance(reader);
    }
    if (choice.children.size() == 1) return choice.children[0];
    if (!hasWeights) choice.weights.clear();
    reader->tree->nodes.push_back(std::move(choice));
    return static_cast<int32_t>(reader->tree->nodes.size()) - 1;
}

bool readRule(Reader *reader)
{
    bool isPublic = reader->token.kind == TokenKind::word && reader->token.text == "public";
    if (isPublic) advance(reader);
    if (reader->token.kind != TokenKind::ruleName || reader->token.text.empty()) {
        unexpected(reader, isPublic ? "a <rule>" : "a rule: <name> = ...;");
        return false;
    }
    Token name = reader->token;
    advance(reader);
    if (!isMark(*reader, "=")) {
        unexpected(reader, "=");
        return false;
    }
    advance(reader);
    int32_t body = readChoice(reader);
    if (body == kFailed) return false;
    if (!isMark(*reader, ";")) {
        unexpected(reader, "| or ;");
        return false;
    }
    advance(reader);
    std::string local = localName(*reader, name.text);
    if (local == "NULL" || local == "VOID") {
        complain(reader, name.place,
                 "<" + local + "> is a rule of its own kind, not to be defined");
        return true;
    }
    Rule &rule = reader->tree->rules[static_cast<size_t>(ruleIndex(reader, local, name.place))];
    if (rule.body != -1) {
        complain(reader, name.place, "<" + rule.name + "> is defined twice");
        return true;
    }
    rule.body = body;
    rule.isPublic = isPublic;
    rule.place = name.place;
    return true;
}

void readHeader(Reader *reader)
{
    const Token &token = reader->token;
    if (token.kind == TokenKind::header && lowerCase(token.text).starts_with("#jsgf")) {
        advance(reader);
        return;
    }
    unexpected(reader, "the first line to be #JSGF V1.0;");
    if (token.kind == TokenKind::header || token.kind == TokenKind::broken) advance(reader);
}

void readName(Reader *reader)
{
    if (reader->token.kind != TokenKind::word || reader->token.text != "grammar") {
        unexpected(reader, "the statement: grammar name;");
        return;
    }
    advance(reader);
    if (reader->token.kind != TokenKind::word) {
        unexpected(reader, "the grammar's name");
        skipStatement(reader);
        return;
    }
    reader->tree->name = reader->token.text;
    advance(reader);
    if (!isMark(*reader, ";")) unexpected(reader, ";");
    skipStatement(reader);
}

void readStatements(Reader *reader)
{
    while (reader->token.kind != TokenKind::end) {
        if (reader->token.kind == TokenKind::word && reader->token.text == "import") {
            complain(reader, reader->token.place, "rules of other grammars cannot be imported");
            skipStatement(reader);
        } else if (!readRule(reader)) {
            skipStatement(reader);
        }
    }
}

} // namespace

bool readJsgf(const std::string &text, RuleTree *tree, Diagnostics *diagnostics)
{
    *tree = {};
    diagnostics->clear();
    if (text.size() > kMaxTextBytes) {
        diagnostics->push_back({{}, "the grammar is longer than 4 MiB"});
        return false;
    }
    Reader reader;
    reader.lexer = lexerOn(text);
    reader.tree = tree;
    reader.diagnostics = diagnostics;
    advance(&reader);
    readHeader(&reader);
    readName(&reader);
    readStatements(&reader);
    // Rules are looked at as a whole only when each could be read.
    if (diagnostics->empty()) checkRules(*tree, diagnostics);
    return diagnostics->empty();
}

} // namespace vantel::ostrel
