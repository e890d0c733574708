#include "apps/commands.h"

#include "apps/compile_grammar.h"
#include "apps/configuration.h"
#include "apps/engine_log.h"
#include "contracts/ostrel.h"
#include "tools/json.h"
#include "tools/read_file.h"

#include <algorithm>
#include <optional>

namespace vantel::app
{
namespace
{

// The engine without the library, for grammars only. It tells in its log what is wrong, and where.
class GrammarEngine
{
public:
    explicit GrammarEngine(const GrammarOptions &options)
    {
        if (!logs_.useTemporary()) {
            error_ = "the folder of temporary files cannot be written";
            return;
        }
        log_.emplace(logs_.engineLog());
        Json whole{cJSON_CreateObject()};
        if (!options.configurationPath.empty())
            whole = readConfiguration(options.configurationPath, &error_);
        if (!error_.empty()) return;
        const cJSON *grammar = jsonObject(whole.get(), "gram");
        grammar_.reset(grammar ? cJSON_Duplicate(grammar, 1) : cJSON_CreateObject());
        Json initialisation{cJSON_DetachItemFromObject(whole.get(), "init")};
        if (!cJSON_IsObject(initialisation.get())) initialisation.reset(cJSON_CreateObject());
        for (const char *key : {"logFile", "logEnable", "level"})
            cJSON_DeleteItemFromObject(initialisation.get(), key);
        cJSON_AddStringToObject(initialisation.get(), "logFile", logs_.engineLog().c_str());
        cJSON_AddNumberToObject(initialisation.get(), "level", kErrorsOnly);
        const int32_t code = ostrel_library_load(jsonPrint(initialisation.get()).get());
        isLoaded_ = code == 0;
        if (!isLoaded_)
            error_ = "the speech engine cannot be loaded (code " + std::to_string(code) + ")";
        showComplaints(&*log_, false);
    }
    ~GrammarEngine()
    {
        if (isLoaded_) ostrel_library_release();
    }
    GrammarEngine(const GrammarEngine &) = delete;
    GrammarEngine &operator=(const GrammarEngine &) = delete;

    const std::string &error() const { return error_; }

    // What the engine's report says of the grammar and the sentences; null, with the reason on
    // standard error, when the grammar does not compile.
    Json compile(const std::string &path, const std::vector<std::string> &sentences)
    {
        Json configuration{cJSON_Duplicate(grammar_.get(), 1)};
        for (const char *key : {"file", "text", "out", "report", "try"})
            cJSON_DeleteItemFromObject(configuration.get(), key);
        if (path == kStandardInput)
            cJSON_AddStringToObject(configuration.get(), "text", inputText().c_str());
        else
            cJSON_AddStringToObject(configuration.get(), "file", path.c_str());
        const std::string report = logs_.path() + "/report.json";
        cJSON_AddStringToObject(configuration.get(), "report", report.c_str());
        cJSON *tried = cJSON_AddArrayToObject(configuration.get(), "try");
        for (const std::string &sentence : sentences)
            cJSON_AddItemToArray(tried, cJSON_CreateString(sentence.c_str()));
        const int32_t code = compileGrammar(configuration.get());
        showComplaints(&*log_, false);
        std::string text;
        if (code == 0 && readFile(report, &text)) return jsonParse(text.c_str());
        complain((path == kStandardInput ? "standard input" : path) + " does not compile (code " +
                 std::to_string(code) + ")");
        return {};
    }

private:
    static constexpr int kErrorsOnly = 5;

    LogFolder logs_;
    std::optional<LogTail> log_;
    Json grammar_; // the configuration's
    bool isLoaded_ = false;
    std::string error_;
};

std::string inQuotes(const std::string &text)
{
    return "\"" + text + "\"";
}

std::string textOf(const cJSON *item)
{
    return cJSON_IsString(item) ? item->valuestring : "";
}

// "a", "b" or "c"; of many the first.
std::string listed(const cJSON *texts, bool mayEnd)
{
    constexpr int kMost = 12;
    const int count = cJSON_GetArraySize(texts);
    std::vector<std::string> all;
    for (int i = 0; i < std::min(count, kMost); ++i)
        all.push_back(inQuotes(textOf(cJSON_GetArrayItem(texts, i))));
    if (count > kMost) all.push_back(std::to_string(count - kMost) + " more");
    if (mayEnd) all.emplace_back("the end");
    std::string text;
    for (size_t i = 0; i < all.size(); ++i)
        text += (i == 0 ? "" : i + 1 == all.size() ? " or " : ", ") + all[i];
    return text;
}

// behind "go forward": expected "a" or "ten", not "meters"
std::string stuckText(const cJSON *sentence)
{
    const cJSON *words = jsonMember(sentence, "words");
    const int got = jsonInt(sentence, "got", 0);
    std::string before;
    for (int i = 0; i < got; ++i)
        before += (i == 0 ? "" : " ") + textOf(cJSON_GetArrayItem(words, i));
    const std::string expected =
        listed(jsonMember(sentence, "expected"), jsonInt(sentence, "mayEnd", 0) == 1);
    return (got == 0 ? std::string{"at the beginning"} : "behind " + inQuotes(before)) +
           ": expected " + (expected.empty() ? "nothing" : expected) + ", not " +
           (got < cJSON_GetArraySize(words) ? inQuotes(textOf(cJSON_GetArrayItem(words, got)))
                                            : "the end");
}

// Columns on a terminal, on which a Chinese character takes two.
size_t shownWidth(const std::string &text)
{
    constexpr unsigned char kInside = 0x80; // of a character of several bytes
    constexpr unsigned char kThreeBytes = 0xE0;
    size_t width = 0;
    for (const char byte : text) {
        const auto unit = static_cast<unsigned char>(byte);
        if ((unit & 0xC0) != kInside) width += unit >= kThreeBytes ? 2 : 1;
    }
    return width;
}

} // namespace

int grammarCheckCommand(const GrammarOptions &options, Output *output)
{
    GrammarEngine engine{options};
    if (!engine.error().empty()) return complain(engine.error());
    int code = kExitDone;
    for (const std::string &path : options.paths) {
        if (engine.compile(path, {}))
            output->write((path == kStandardInput ? "standard input" : path) + " compiles\n");
        else
            code = kExitFailure;
    }
    return code;
}

int grammarTryCommand(const GrammarOptions &options, Output *output)
{
    GrammarEngine engine{options};
    if (!engine.error().empty()) return complain(engine.error());
    Json report = engine.compile(options.path, options.sentences);
    if (!report) return kExitFailure;
    int code = kExitDone;
    const cJSON *sentence = nullptr;
    cJSON_ArrayForEach(sentence, jsonMember(report.get(), "sentences"))
    {
        const std::string text = inQuotes(textOf(jsonMember(sentence, "text")));
        if (const char *rule = jsonString(sentence, "rule")) {
            HeapText meaning = jsonPrint(jsonMember(sentence, "sem"));
            output->write(text + "  <" + rule + ">  " + (meaning ? meaning.get() : "") + "\n");
            continue;
        }
        code = kExitNothingRecognised;
        output->write(text + "  no match: " +
                      (jsonMember(sentence, "tooHard") ? "too much work for the grammar"
                                                       : stuckText(sentence)) +
                      "\n");
    }
    return code;
}

int grammarWordsCommand(const GrammarOptions &options, Output *output)
{
    GrammarEngine engine{options};
    if (!engine.error().empty()) return complain(engine.error());
    Json report = engine.compile(options.path, {});
    if (!report) return kExitFailure;
    constexpr size_t kColumn = 16;
    // One pronunciation a line, as in a dictionary.
    const cJSON *word = nullptr;
    cJSON_ArrayForEach(word, jsonMember(report.get(), "words"))
    {
        const std::string text = textOf(jsonMember(word, "word"));
        const std::string mark = jsonMember(word, "guessed") ? "  (guessed)" : "";
        const size_t width = shownWidth(text);
        std::string head = text + std::string(kColumn - std::min(width, kColumn), ' ');
        const cJSON *phones = nullptr;
        cJSON_ArrayForEach(phones, jsonMember(word, "phones"))
        {
            output->write(head + "  " + textOf(phones) + mark + "\n");
            head = std::string(std::max(width, kColumn), ' ');
        }
    }
    return kExitDone;
}

} // namespace vantel::app
