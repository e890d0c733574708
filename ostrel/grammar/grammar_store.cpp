#include "ostrel/grammar/grammar.h"
#include "ostrel/library.h"
#include "tools/thread_safety.h"

#include <map>
#include <unordered_map>

#define STORE_LOG(level, ...) ENGINE_LOG("ostrel/grammar_store", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// The version of the compiled form; a member of its own name marks the file.
constexpr const char *kFormatKey = "vantelGrammar";
constexpr int32_t kFormat = 1;

Mutex grammarsMutex;
std::map<std::string, std::shared_ptr<const Grammar>> &grammars() REQUIRES(grammarsMutex)
{
    static auto &all = *new std::map<std::string, std::shared_ptr<const Grammar>>;
    return all;
}

// Empty without memory.
Json toJson(const Grammar &grammar)
{
    Json root{cJSON_CreateObject()};
    bool isWhole = cJSON_AddNumberToObject(root.get(), kFormatKey, kFormat) &&
                   cJSON_AddStringToObject(root.get(), "source", grammar.source.c_str());
    cJSON *words = cJSON_AddArrayToObject(root.get(), "words");
    for (size_t i = 0; i < grammar.tree.words.size(); ++i) {
        const Pronunciations &known = grammar.pronunciations[i];
        Json word{cJSON_CreateObject()};
        isWhole = isWhole &&
                  cJSON_AddStringToObject(word.get(), "word", grammar.tree.words[i].text.c_str());
        cJSON *phones = cJSON_AddArrayToObject(word.get(), "phones");
        cJSON *readings = cJSON_AddArrayToObject(word.get(), "readings");
        for (const Pronunciation &each : known) {
            isWhole = isWhole && jsonAppend(phones, Json{cJSON_CreateString(each.phones.c_str())});
            isWhole =
                isWhole && jsonAppend(readings, Json{cJSON_CreateString(each.reading.c_str())});
        }
        isWhole = isWhole && jsonAppend(words, std::move(word));
    }
    cJSON *respell = cJSON_AddObjectToObject(root.get(), "respell");
    isWhole = isWhole && respell;
    for (const auto &[word, spelling] : grammar.respellings)
        isWhole = isWhole && cJSON_AddStringToObject(respell, word.c_str(), spelling.c_str());
    return isWhole ? std::move(root) : Json{};
}

using WordTable = std::unordered_map<std::string, Pronunciations>;

WordTable readWords(const cJSON *words)
{
    WordTable table;
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, words)
    {
        const char *text = jsonString(item, "word");
        if (!text) continue;
        Pronunciations known;
        const cJSON *phones = nullptr;
        cJSON_ArrayForEach(phones, jsonMember(item, "phones"))
        {
            const cJSON *reading =
                cJSON_GetArrayItem(jsonMember(item, "readings"), static_cast<int>(known.size()));
            if (!cJSON_IsString(phones)) continue;
            known.push_back(
                {phones->valuestring, cJSON_IsString(reading) ? reading->valuestring : ""});
        }
        table[text] = std::move(known);
    }
    return table;
}

bool fromJson(const cJSON *root, Grammar *grammar)
{
    const char *source = jsonString(root, "source");
    Diagnostics diagnostics;
    if (jsonInt(root, kFormatKey, 0) != kFormat || !source) return false;
    grammar->source = source;
    if (!readJsgf(grammar->source, &grammar->tree, &diagnostics) ||
        !buildNetwork(grammar->tree, &grammar->network, &diagnostics))
        return false;
    WordTable table = readWords(jsonMember(root, "words"));
    for (const Word &word : grammar->tree.words) {
        Pronunciations known = table[word.text];
        if (known.empty()) return false;
        grammar->pronunciations.push_back(std::move(known));
    }
    const cJSON *respelling = nullptr;
    cJSON_ArrayForEach(respelling, jsonObject(root, "respell")) if (cJSON_IsString(respelling))
        grammar->respellings[respelling->string] = respelling->valuestring;
    return isSearchable(*grammar, &diagnostics);
}

} // namespace

void grammarKeep(const std::string &name, std::shared_ptr<const Grammar> grammar)
{
    MutexLock lock{grammarsMutex};
    grammars()[name] = std::move(grammar);
}

std::shared_ptr<const Grammar> grammarFind(const std::string &name)
{
    MutexLock lock{grammarsMutex};
    auto found = grammars().find(name);
    return found == grammars().end() ? nullptr : found->second;
}

void grammarsRelease()
{
    MutexLock lock{grammarsMutex};
    grammars().clear();
}

bool grammarSave(const Grammar &grammar, const std::string &path)
{
    const bool written = writeFile(path, jsonPrint(toJson(grammar).get()).get());
    if (!written) STORE_LOG(kError, "  cannot write the compiled grammar %s\n", path.c_str());
    return written;
}

std::shared_ptr<const Grammar> grammarLoad(const std::string &path)
{
    std::string text;
    if (!readFile(path, &text, kLongestTextBytes)) {
        STORE_LOG(kError, "  cannot read the compiled grammar %s\n", path.c_str());
        return nullptr;
    }
    auto grammar = std::make_shared<Grammar>();
    if (fromJson(jsonParse(text.c_str()).get(), grammar.get())) return grammar;
    STORE_LOG(kError, "  %s is no compiled grammar\n", path.c_str());
    return nullptr;
}

} // namespace vantel::ostrel
