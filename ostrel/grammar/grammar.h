// Compiled grammars: what the recogniser needs to know of one.
#pragma once

#include "ostrel/grammar/grammar_network.h"
#include "ostrel/words/dictionary.h"

#include <map>

namespace vantel::ostrel
{

// Results of ostrel_gram_start.
enum GrammarError : int32_t {
    kGrammarConfiguration = -9101, // no JSON object, or neither "file" nor "text" in it
    kGrammarUnreadable = -9102,    // the file
    kGrammarWrong = -9103,         // the grammar, or too large; the log has line and column
    kGrammarDictionary = -9104,    // a dictionary cannot be used
    kGrammarUnwritable = -9105,    // "out" or "report"
};

struct Grammar {
    std::string source; // the JSGF text
    RuleTree tree;
    Network network;
    std::vector<Pronunciations> pronunciations;     // of the tree's words
    std::map<std::string, std::string> respellings; // words in other words that sound alike
};

// False with a diagnostic when searching it would take too much memory.
bool isSearchable(const Grammar &grammar, Diagnostics *diagnostics);

// Whether a word has a Chinese character in it.
bool isChinese(const Grammar &grammar);

// The name under which a grammar is kept that has none.
constexpr const char *kDefaultGrammarName = "default";

// Reads, checks and compiles as the configuration says; see docs/engine.md. 0 or a GrammarError,
// with every fault in the engine's log.
int32_t grammarCompile(const cJSON *configuration, std::shared_ptr<const Grammar> *grammar);

// Grammars in memory, shared by the process until the library is released. A later one of the same
// name takes the place of the earlier; who holds that keeps it.
void grammarKeep(const std::string &name, std::shared_ptr<const Grammar> grammar);
std::shared_ptr<const Grammar> grammarFind(const std::string &name); // null: none
void grammarsRelease();

// The compiled form in a file: the checked text and the pronunciations. False with a log line.
bool grammarSave(const Grammar &grammar, const std::string &path);
std::shared_ptr<const Grammar> grammarLoad(const std::string &path); // null with a log line

} // namespace vantel::ostrel
