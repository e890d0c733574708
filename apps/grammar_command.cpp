#include "apps/commands.h"

#include "contracts/ostrel.h"
#include "platform/platform.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace vantel::app
{
namespace
{

constexpr int kErrorsOnly = 5;

HeapText textWith(std::initializer_list<std::pair<const char *, std::string>> members)
{
    Json object{cJSON_CreateObject()};
    for (const auto &[key, value] : members)
        cJSON_AddStringToObject(object.get(), key, value.c_str());
    cJSON_AddTrueToObject(object.get(), "logEnable");
    cJSON_AddNumberToObject(object.get(), "level", kErrorsOnly);
    return jsonPrint(object.get());
}

std::filesystem::path temporaryLog()
{
    char id[kUuidBytes];
    quendaGetUUID(id, "vantel-grammar");
    return std::filesystem::temp_directory_path() / (std::string("vantel-") + id + ".log");
}

// The messages of a log, each behind its line's header, which two '#' close.
void printMessages(const std::filesystem::path &path)
{
    std::ifstream log{path, std::ios::binary};
    for (std::string line; std::getline(log, line);) {
        size_t end = line.find('#', line.find('#') + 1);
        size_t text = line.find_first_not_of(' ', end == std::string::npos ? 0 : end + 1);
        if (text != std::string::npos) std::fprintf(stderr, "%s\n", line.c_str() + text);
    }
}

int32_t compile(const std::string &path, const std::string &language)
{
    HeapText configuration = textWith({{"file", path}, {"language", language}});
    void *grammar = ostrel_gram_new(configuration.get());
    if (!grammar) return -1;
    int32_t result = ostrel_gram_start(grammar, configuration.get());
    ostrel_gram_delete(grammar);
    return result;
}

} // namespace

int grammarCheckCommand(const std::string &path, const std::string &language)
{
    // The engine tells in its log what is wrong, and where.
    std::filesystem::path log = temporaryLog();
    HeapText library = textWith({{"logFile", log.generic_string()}});
    int32_t result = ostrel_library_load(library.get());
    if (result == 0) {
        result = compile(path, language);
        ostrel_library_release();
    }
    printMessages(log);
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    if (result != 0) {
        std::fprintf(stderr, "vantel: %s does not compile (code %d)\n", path.c_str(), result);
        return kExitError;
    }
    std::printf("%s compiles\n", path.c_str());
    return 0;
}

} // namespace vantel::app
