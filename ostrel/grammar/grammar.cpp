#include "ostrel/grammar/grammar.h"

#include "contracts/ostrel.h"
#include "ostrel/grammar/grammar_report.h"
#include "ostrel/library.h"
#include "ostrel/no_throw.h"
#include "ostrel/words/mandarin.h"
#include "ostrel/words/pronounce.h"

#include <algorithm>

#define GRAMMAR_LOG(level, ...) ENGINE_LOG("ostrel/grammar", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr size_t kMaxReported = 20;
constexpr size_t kMaxSpokenArcs = 60'000; // the decoder takes about five kilobytes for each

struct Compiler {
    std::string configuration;
};

void logDiagnostics(const std::string &title, const Diagnostics &diagnostics)
{
    for (const Diagnostic &diagnostic : diagnostics)
        GRAMMAR_LOG(kError, "  %s:%d:%d: %s\n", title.c_str(), diagnostic.place.line,
                    diagnostic.place.column, diagnostic.message.c_str());
}

int32_t readSource(const cJSON *configuration, std::string *title, std::string *source)
{
    const char *file = jsonString(configuration, "file");
    const char *text = jsonString(configuration, "text");
    if (file) {
        *title = file;
        if (readFile(file, source, kLongestTextBytes)) return 0;
        GRAMMAR_LOG(kError, "  cannot read the grammar %s\n", file);
        return kGrammarUnreadable;
    }
    if (!text) {
        GRAMMAR_LOG(kError, "  a grammar needs \"file\" or \"text\"\n");
        return kGrammarConfiguration;
    }
    *title = "grammar";
    *source = text;
    return 0;
}

void pronounceWords(const Pronouncer &pronouncer, Grammar *grammar, Diagnostics *diagnostics)
{
    for (const Word &word : grammar->tree.words) {
        Pronunciations found;
        std::string reason;
        if (!pronounce(pronouncer, word.text, &found, &reason))
            diagnostics->push_back({word.place, reason});
        if (diagnostics->size() == kMaxReported) return; // the rest are mostly of the same kind
        grammar->pronunciations.push_back(std::move(found));
    }
}

void readRespellings(const cJSON *configuration, Grammar *grammar)
{
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, jsonObject(configuration, "respell")) if (cJSON_IsString(item))
        grammar->respellings[item->string] = item->valuestring;
}

int32_t build(const char *text)
{
    Json configuration = jsonParse(text);
    if (!cJSON_IsObject(configuration.get())) {
        GRAMMAR_LOG(kError, "  the grammar's configuration is no JSON object\n");
        return kGrammarConfiguration;
    }
    std::shared_ptr<const Grammar> grammar;
    int32_t result = grammarCompile(configuration.get(), &grammar);
    if (result != 0) return result;
    const char *out = jsonString(configuration.get(), "out");
    if (out && !grammarSave(*grammar, out)) return kGrammarUnwritable;
    if (!grammarReport(configuration.get(), *grammar)) return kGrammarUnwritable;
    const char *name = jsonString(configuration.get(), "name");
    grammarKeep(name ? name : kDefaultGrammarName, std::move(grammar));
    return 0;
}

} // namespace

bool isSearchable(const Grammar &grammar, Diagnostics *diagnostics)
{
    size_t spoken = 0;
    for (const Arc &arc : grammar.network.arcs) {
        if (arc.word == kNoWord) continue;
        const auto word = static_cast<size_t>(arc.word);
        spoken += grammar.pronunciations[word].size();
        if (spoken <= kMaxSpokenArcs) continue;
        diagnostics->push_back({grammar.tree.words[word].place,
                                "the grammar is too large: more than 60000 words on its ways, each "
                                "pronunciation counted"});
        return false;
    }
    return true;
}

bool isChinese(const Grammar &grammar)
{
    return std::any_of(grammar.tree.words.begin(), grammar.tree.words.end(),
                       [](const Word &word) { return hasChinese(word.text); });
}

int32_t grammarCompile(const cJSON *configuration, std::shared_ptr<const Grammar> *out)
{
    auto grammar = std::make_shared<Grammar>();
    Pronouncer pronouncer;
    Diagnostics diagnostics;
    std::string title;
    int32_t result = readSource(configuration, &title, &grammar->source);
    if (result != 0) return result;
    bool isRight = readJsgf(grammar->source, &grammar->tree, &diagnostics) &&
                   buildNetwork(grammar->tree, &grammar->network, &diagnostics);
    if (isRight) {
        if (!pronouncerOpen(configuration, &pronouncer)) return kGrammarDictionary;
        pronounceWords(pronouncer, grammar.get(), &diagnostics);
        if (diagnostics.empty()) isSearchable(*grammar, &diagnostics);
    }
    readRespellings(configuration, grammar.get());
    logDiagnostics(title, diagnostics);
    if (!diagnostics.empty()) return kGrammarWrong;
    GRAMMAR_LOG(kInfo, "  %s compiled: %zu words, %d states, %zu arcs\n", title.c_str(),
                grammar->tree.words.size(), grammar->network.states, grammar->network.arcs.size());
    *out = std::move(grammar);
    return 0;
}

} // namespace vantel::ostrel

using namespace vantel::ostrel;

void *ostrel_gram_new(const char *configuration)
{
    return withoutThrowing<void *>(
        nullptr, [&] { return new Compiler{configuration ? configuration : ""}; });
}

int32_t ostrel_gram_start(void *handle, const char *configuration)
{
    if (!handle) return -1;
    return withoutThrowing(-1, [&] {
        return build(configuration ? configuration
                                   : static_cast<Compiler *>(handle)->configuration.c_str());
    });
}

int32_t ostrel_gram_delete(void *handle)
{
    delete static_cast<Compiler *>(handle);
    return handle ? 0 : -1;
}
