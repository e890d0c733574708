#include "ostrel/library.h"

#include "contracts/ostrel.h"
#include "ostrel/grammar/grammar.h"
#include "ostrel/no_throw.h"
#include "ostrel/runtime/transcriber.h"
#include "ostrel/runtime/verifier.h"
#include "ostrel/runtime/vosk.h"
#include "ostrel/vad/vad_detectors.h"
#include "ostrel/words/mandarin.h"
#include "platform/platform.h"
#include "tools/thread_safety.h"

#include <algorithm>
#include <vector>

#define LIBRARY_LOG(level, ...) ENGINE_LOG("ostrel/library", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

Mutex libraryMutex;
std::shared_ptr<const Library> current GUARDED_BY(libraryMutex);
int32_t lastLoadResult = 0; // of ostrel_library_load; touched by load and opt only

// What is loaded with the library, so that a broken installation shows at once. 0 or an error code;
// what is merely missing is no error.
constexpr int32_t (*kLoadSteps[])() = {vadModelsLoad};

// What is shared by handles and goes with the library.
constexpr void (*kReleaseSteps[])() = {vadModelsRelease, transcriberRelease, verifierRelease,
                                       voskRelease,      grammarsRelease,    dictionariesRelease,
                                       readingsRelease};

// Without a log file errors at most are told, on standard output, unless the log is asked for.
void openLog(const cJSON *configuration)
{
    constexpr float kDefaultMegabytes = 20;
    const char *path = jsonString(configuration, "logFile");
    const cJSON *enable = jsonMember(configuration, "logEnable");
    const cJSON *size = jsonMember(configuration, "size");
    int32_t level = jsonInt(configuration, "level", kDebug);
    if (!path && !enable) level = std::max<int32_t>(level, kError);
    if (enable && !cJSON_IsTrue(enable)) level = kLogNothing;
    lineLogInit(&engineLog(), level, path, jsonInt(configuration, "mode", 0),
                cJSON_IsNumber(size) ? static_cast<float>(size->valuedouble) : kDefaultMegabytes);
}

// The folders in which resources are looked for, first match first.
std::vector<std::string> resourceFolders()
{
    std::vector<std::string> folders;
    if (auto loaded = library(); loaded && !loaded->resourcesFolder.empty())
        folders.push_back(loaded->resourcesFolder);
    std::string here = platformModuleDirectory(&lastLoadResult);
    if (!here.empty()) {
        folders.push_back(here + "/../share/vantel");
        folders.push_back(here + "/../../share/vantel"); // lib/<architecture>/
        folders.push_back(here + "/share/vantel");
    }
    return folders;
}

int32_t takeConfiguration(Json configuration, std::shared_ptr<const Library> *out)
{
    auto loaded = std::make_shared<Library>();
    const char *resources = jsonString(configuration.get(), "resources");
    if (resources) {
        if (!platformPathExists(resources)) {
            LIBRARY_LOG(kError, "  no such resources folder: %s\n", resources);
            return kResourcesMissing;
        }
        loaded->resourcesFolder = resources;
    }
    loaded->configuration = std::move(configuration);
    *out = std::move(loaded);
    return 0;
}

void setLibrary(std::shared_ptr<const Library> loaded)
{
    MutexLock lock{libraryMutex};
    current = std::move(loaded);
}

int32_t load(const char *text)
{
    Json configuration = jsonParse(text);
    if (!cJSON_IsObject(configuration.get())) return kConfigurationBroken;
    openLog(configuration.get());
    std::shared_ptr<const Library> before = library();
    std::shared_ptr<const Library> loaded;
    int32_t result = takeConfiguration(std::move(configuration), &loaded);
    if (result == 0) {
        setLibrary(loaded);
        for (auto step : kLoadSteps)
            if (result == 0) result = step();
    }
    if (result == 0) {
        LIBRARY_LOG(kInfo, "  engine loaded\n");
        return 0;
    }
    // What was loaded before stays as it was.
    setLibrary(before);
    if (!before) ostrel_library_release();
    return result;
}

} // namespace

std::shared_ptr<const Library> library()
{
    MutexLock lock{libraryMutex};
    return current;
}

std::string findResource(const std::string &name)
{
    for (const std::string &folder : resourceFolders()) {
        std::string path = folder + "/" + name;
        if (platformPathExists(path.c_str())) return path;
    }
    return {};
}

LineLog &engineLog()
{
    // Never destroyed: a handle that outlives main may still ask whether a line is wanted.
    static LineLog &log = []() -> LineLog & {
        LineLog *made = new LineLog;
        made->isOneLineEach = true;
        return *made;
    }();
    return log;
}

} // namespace vantel::ostrel

int32_t ostrel_library_load(const char *configuration)
{
    using namespace vantel::ostrel;
    lastLoadResult = withoutThrowing(-1, [&] { return load(configuration); });
    return lastLoadResult;
}

int32_t ostrel_library_opt(int32_t option, int32_t, int32_t)
{
    constexpr int32_t kLastLoadResult = 1;
    return option == kLastLoadResult ? vantel::ostrel::lastLoadResult : -1;
}

void ostrel_library_release(void)
{
    using namespace vantel::ostrel;
    for (auto step : kReleaseSteps)
        step();
    setLibrary(nullptr);
    vantel::lineLogRelease(&engineLog());
}
