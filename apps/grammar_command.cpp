#include "apps/commands.h"

#include "apps/compile_grammar.h"
#include "apps/engine_log.h"
#include "contracts/ostrel.h"
#include "tools/json.h"

#include <cstdio>

namespace vantel::app
{
namespace
{

constexpr int kErrorsOnly = 5;

int32_t loadEngine(const LogFolder &logs)
{
    Json configuration{cJSON_CreateObject()};
    cJSON_AddStringToObject(configuration.get(), "logFile", logs.engineLog().c_str());
    cJSON_AddNumberToObject(configuration.get(), "level", kErrorsOnly);
    return ostrel_library_load(jsonPrint(configuration.get()).get());
}

} // namespace

int32_t compileGrammar(const cJSON *configuration)
{
    HeapText text = jsonPrint(configuration);
    void *grammar = ostrel_gram_new(text.get());
    if (!grammar) return -1;
    const int32_t result = ostrel_gram_start(grammar, text.get());
    ostrel_gram_delete(grammar);
    return result;
}

int grammarCheckCommand(const std::string &path, Output *output)
{
    // The engine tells in its log what is wrong, and where.
    LogFolder logs;
    if (!logs.useTemporary()) return complain("the folder of temporary files cannot be written");
    LogTail log{logs.engineLog()};
    int32_t result = loadEngine(logs);
    if (result == 0) {
        Json configuration{cJSON_CreateObject()};
        cJSON_AddStringToObject(configuration.get(), "file", path.c_str());
        result = compileGrammar(configuration.get());
        ostrel_library_release();
    }
    showComplaints(&log, false);
    if (result != 0)
        return complain(path + " does not compile (code " + std::to_string(result) + ")");
    output->write(path + " compiles\n");
    return kExitDone;
}

} // namespace vantel::app
