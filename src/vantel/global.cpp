// The process-wide part: log, stored configuration, engine library.
#include "contracts/ostrel.h"
#include "include/vantel/vantel.h"
#include "src/vantel/settings.h"
#include "src/vantel/vantel_log.h"
#include "tools/quenda_tool.h"

#include <new>

namespace vantel
{
namespace
{

// The engine reports no versions; these are of the interface that this library is built for.
constexpr char kBanner[] = "vantel version: " VANTEL_VERSION "\n"
                           "VAD_VERSION: " VANTEL_VERSION "\n"
                           "GRAM_VERSION: " VANTEL_VERSION "\n"
                           "ASR_VERSION: " VANTEL_VERSION "\n"
                           "end of versions";

// The host promises that no two of the four lifetime functions overlap, so this needs no lock.
struct GlobalState {
    HeapText configuration; // as the host gave it; empty when there is none
    bool isEngineLoaded = false;
};

GlobalState &global()
{
    static GlobalState state;
    return state;
}

void openLog(const InitSettings &settings, const char *path)
{
    logInit(settings.level, path, settings.mode, static_cast<float>(settings.sizeMb));
}

void logBanner(const char *configuration)
{
    API_LOG(kInfo, "  %s %s, configuration: %s\n", kApiTag, kBanner, configuration);
}

void warnOfSize(const cJSON *configuration, const InitSettings &settings)
{
    const cJSON *size = jsonMember(configuration, "size");
    if (!size || cJSON_IsNumber(size)) return;
    const HeapText value = jsonPrint(size);
    API_LOG(kWarning, "  %s \"size\": %s is no number, %g is used\n", kApiTag, orNull(value.get()),
            settings.sizeMb);
}

// The engine has a log of its own beside the library's. A host's own "logFile" stays first.
void addEngineLog(cJSON *configuration, const std::string &logDirectory)
{
    cJSON_AddStringToObject(configuration, "logFile", (logDirectory + "/ostrel.log").c_str());
    cJSON_AddTrueToObject(configuration, "logEnable");
}

int32_t loadEngine(const cJSON *configuration)
{
    HeapText text = jsonPrintFormatted(configuration);
    if (ostrel_library_load(text.get()) != 0) return ostrel_library_opt(1, 0, 0);
    global().isEngineLoaded = true;
    return 0;
}

int32_t initialise(const char *text)
{
    Json configuration = jsonParse(text);
    if (!configuration) {
        openLog({}, nullptr);
        logBanner(text);
        return -1;
    }
    InitSettings settings = readInitSettings(configuration.get());
    std::string logFile;
    if (settings.logDirPath) {
        std::string logDirectory = *settings.logDirPath + "/cache/log";
        makeDirsLogged(logDirectory);
        logFile = logDirectory + "/vantel.log";
        addEngineLog(configuration.get(), logDirectory);
    }
    openLog(settings, settings.logDirPath ? logFile.c_str() : nullptr);
    logBanner(text);
    warnOfSize(configuration.get(), settings);
    global().configuration = dupString(text);
    return loadEngine(configuration.get());
}

} // namespace

InitSettings readInitSettings(const cJSON *configuration)
{
    InitSettings settings;
    settings.level = jsonInt(configuration, "level", settings.level);
    settings.mode = jsonInt(configuration, "mode", settings.mode);
    const cJSON *size = jsonMember(configuration, "size");
    if (cJSON_IsNumber(size)) settings.sizeMb = size->valuedouble;
    const char *logDirPath = jsonString(configuration, "logDirPath");
    if (logDirPath) settings.logDirPath = logDirPath;
    return settings;
}

bool hasStoredConfiguration()
{
    return global().configuration != nullptr;
}

Json storedConfiguration()
{
    Json parsed = jsonParse(global().configuration.get());
    if (!parsed) throw std::bad_alloc{}; // vantelInit stores only what it could parse
    return parsed;
}

void makeDirsLogged(const std::string &path)
{
    if (makeDirs(path.c_str()) != 0)
        API_LOG(kError, "  %s create dir failed, dirPath: %s\n", kApiTag, path.c_str());
}

} // namespace vantel

int32_t vantelInit(const char *configuration)
{
    if (!configuration) return -1;
    try {
        return vantel::initialise(configuration);
    } catch (const std::bad_alloc &) {
        return -1;
    }
}

int32_t vantelRelease(void)
{
    vantel::GlobalState &state = vantel::global();
    if (state.isEngineLoaded) ostrel_library_release();
    state.configuration.reset();
    vantel::logRelease();
    state.isEngineLoaded = false;
    return 0;
}
