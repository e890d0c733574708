// How an instance is built and taken down.
#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#include "src/agent/agent.h"
#include "src/dms/dms.h"
#include "src/node/durations.h"
#include "src/node/instance.h"
#include "src/node/node_loop.h"
#include "src/processor/processor.h"
#include "src/vad/vad.h"
#include "src/vantel/settings.h"
#include "src/vantel/vantel_log.h"

#include <memory>
#include <new>

namespace vantel
{

// The thread that runs the bus's server loop.
struct ServerRunner {
    ThreadRecord thread; // first: the record is handed to the thread operations
    void *bus;
    std::atomic<int32_t> running{0};
};

namespace
{

constexpr int kDefaultTimerClickMs = 3;
// Longer paths of the configuration are refused.
constexpr size_t kMaxPathBytes = 255;

// What vantelNew works out of the two configuration texts.
struct InstanceSettings {
    InitSettings init;
    std::string homePath; // empty: none
    int timerClickMs = kDefaultTimerClickMs;
    HeapText nodeConfiguration; // empty: the nodes take their defaults
};

std::string pathOrNothing(const char *name, const std::string &path)
{
    if (path.size() <= kMaxPathBytes) return path;
    API_LOG(kError, "  %s %s is longer than %d bytes, not used\n", kApiTag, name,
            static_cast<int>(kMaxPathBytes));
    return {};
}

// The nodes see the host's parameters and, after them, where and how much the library logs.
void addInitSettings(cJSON *params, const cJSON *stored, const InitSettings &init)
{
    if (!cJSON_IsObject(params)) return;
    if (jsonMember(stored, "level")) cJSON_AddNumberToObject(params, "level", init.level);
    if (init.logDirPath) cJSON_AddStringToObject(params, "logDirPath", init.logDirPath->c_str());
}

// False when the parameters are refused.
bool readParams(const char *text, const cJSON *stored, InstanceSettings *settings)
{
    Json params = jsonParse(text);
    if (!params) {
        API_LOG(kError, "  %s not json string\n", kApiTag);
        API_LOG(kError, "  %s not deviceId\n", kApiTag);
        return false;
    }
    addInitSettings(params.get(), stored, settings->init);
    const char *homePath = jsonString(params.get(), "homePath");
    settings->homePath = pathOrNothing("homePath", homePath ? homePath : "");
    settings->timerClickMs = readDuration(kApiLog, params.get(), "timerClickMs",
                                          R"("timerClickMs")", kDefaultTimerClickMs, kUsedAsItIs);
    settings->nodeConfiguration = jsonPrintFormatted(params.get());
    if (!settings->nodeConfiguration) API_LOG(kError, "  %s not params\n", kApiTag);
    return true;
}

HeapText busConfiguration(const InstanceSettings &settings)
{
    Json bus{cJSON_CreateObject()};
    cJSON_AddNumberToObject(bus.get(), "level", settings.init.level);
    cJSON_AddNumberToObject(bus.get(), "mode", settings.init.mode);
    cJSON_AddNumberToObject(bus.get(), "size", settings.init.sizeMb);
    if (settings.timerClickMs != kDefaultTimerClickMs)
        cJSON_AddNumberToObject(bus.get(), "timerClickMs", settings.timerClickMs);
    std::string logDirPath = pathOrNothing("logDirPath", settings.init.logDirPath.value_or(""));
    if (!logDirPath.empty()) {
        std::string path = logDirPath + "/cache/log/quillon.log";
        cJSON_AddStringToObject(bus.get(), "path", path.c_str());
    }
    if (!settings.homePath.empty()) {
        std::string keys = settings.homePath + "/cache/keys";
        makeDirsLogged(keys);
        cJSON_AddStringToObject(bus.get(), "homePath", keys.c_str());
    }
    return jsonPrintFormatted(bus.get());
}

void runServer(void *argument)
{
    auto *server = static_cast<ServerRunner *>(argument);
    server->running.store(1, std::memory_order_release);
    quillon_server_run(server->bus);
    server->running.store(0, std::memory_order_release);
}

int32_t serverStart(ServerRunner *server)
{
    return quenda_mk_thread_start(&server->thread, "sbcp_server", &server->running, runServer,
                                  server);
}

int32_t serverStop(ServerRunner *server)
{
    quillon_server_stop(server->bus);
    quenda_mk_thread_join(&server->thread);
    return 0;
}

int32_t serverDelete(ServerRunner *server)
{
    delete server;
    return 0;
}

int32_t deleteDms(dms::DmsRecord *record)
{
    dms::ldmExit(record);
    return dms::_dmsDelete(record);
}

// Makes a part, puts it into its slot and starts its loop. A part that could not be made, or that
// has no thread, leaves its slot null, and the instance goes on without it. False when memory has
// run out meanwhile.
template <typename Record, typename Make>
bool fill(Record *&slot, const char *name, Make make, int32_t (*start)(Record *),
          int32_t (*destroy)(Record *))
{
    Record *record = make();
    int32_t result = record ? start(record) : kNoThread;
    if (result == kStarted) {
        slot = record;
        return true;
    }
    API_LOG(kError, "  %s %s could not be started\n", kApiTag, name);
    if (record) destroy(record);
    return result != kNoNode;
}

template <typename Record>
void empty(Record *&slot, int32_t (*stop)(Record *), int32_t (*destroy)(Record *))
{
    if (!slot) return;
    stop(slot);
    destroy(slot);
    slot = nullptr;
}

// Each loop runs and has subscribed before the next part is made. False when memory has run out.
bool buildNodes(Instance *instance, const char *configuration)
{
    void *bus = instance->bus;
    NodeTable *nodes = instance->nodes;
    auto by = [=](auto constructor) {
        return [=] { return constructor(bus, configuration, instance); };
    };
    auto newServer = [bus] { return new (std::nothrow) ServerRunner{.thread = {}, .bus = bus}; };
    if (!fill(nodes->server, "server", newServer, serverStart, serverDelete) ||
        !fill(nodes->agent, "agent", by(agentNew), agentStart, agentDelete) ||
        !fill(nodes->processor, "processor", by(processor::processorNew), processor::processorStart,
              processor::processorDelete) ||
        !fill(nodes->dms, "dms", by(dms::dmsNew), dms::dmsStart, deleteDms) ||
        !fill(nodes->vad, "vad", by(vad::vadNew), vad::vadStart, vad::_vadDelete))
        return false;
    instance->missingParts = (nodes->processor ? 0U : kProcessorPart) |
                             (nodes->dms ? 0U : kDmsPart) | (nodes->vad ? 0U : kVadPart);
    return true;
}

// The agent goes first, because its last message tells the others of the end.
void takeDownNodes(Instance *instance)
{
    NodeTable *nodes = instance->nodes;
    empty(nodes->agent, agentStop, agentDelete);
    empty(nodes->vad, vad::vadStop, vad::_vadDelete);
    empty(nodes->dms, dms::dmsStop, deleteDms);
    empty(nodes->processor, processor::processorStop, processor::processorDelete);
    empty(nodes->server, serverStop, serverDelete);
    quillon_bus_delete(instance->bus);
    instance->bus = nullptr;
}

void deleteInstance(Instance *instance)
{
    if (instance->bus) takeDownNodes(instance);
    delete instance->nodes;
    delete instance;
}

struct InstanceDelete {
    void operator()(Instance *instance) const { deleteInstance(instance); }
};

// Null when memory has run out.
Instance *buildInstance(const InstanceSettings &settings, HostCallback callback, void *user)
{
    HeapText busText = busConfiguration(settings);
    std::unique_ptr<Instance, InstanceDelete> instance{new (std::nothrow) Instance};
    if (!instance) return nullptr;
    instance->nodes = new (std::nothrow) NodeTable;
    if (!instance->nodes) return nullptr;
    instance->bus = quillon_bus_new(busText.get());
    if (!instance->bus) API_LOG(kError, "  %s bus could not be made\n", kApiTag);
    instance->callback = callback;
    instance->user = user;
    instance->isConfigurationJson = settings.nodeConfiguration != nullptr;
    if (instance->bus && !buildNodes(instance.get(), settings.nodeConfiguration.get()))
        return nullptr;
    return instance.release();
}

void *newInstance(const char *params, HostCallback callback, void *user)
{
    API_LOG(kInfo, "  %s vantel onNew begin, params: %s\n", kApiTag, orNull(params));
    InstanceSettings settings;
    if (hasStoredConfiguration()) {
        Json stored = storedConfiguration();
        settings.init = readInitSettings(stored.get());
        if (!readParams(params, stored.get(), &settings)) return nullptr;
    } else {
        API_LOG(kError, "  %s not params\n", kApiTag);
    }
    Instance *instance = buildInstance(settings, callback, user);
    API_LOG(kInfo, "  %s  vantel onNew end, addr: %p\n", kApiTag, static_cast<void *>(instance));
    return instance;
}

int32_t refuseDelete(const char *reason)
{
    API_LOG(kError, "  %s vantelDelete refused: %s\n", kApiTag, reason);
    return -1;
}

} // namespace
} // namespace vantel

void *vantelNew(const char *params, HostCallback callback, void *user)
{
    try {
        return vantel::newInstance(params, callback, user);
    } catch (const std::bad_alloc &) {
        API_LOG(vantel::kError, "  %s vantelNew has no memory\n", vantel::kApiTag);
        return nullptr;
    }
}

int32_t vantelDelete(void *handle)
{
    using namespace vantel;
    if (!handle) return 0;
    auto *instance = static_cast<Instance *>(handle);
    // Its thread would have to wait for its own end.
    if (isInsideCallback(instance)) return refuseDelete("called from inside the callback");
    if (!instance->usage.close()) return refuseDelete("another one is under way");
    API_LOG(kInfo, "  %s vantel onDelete begin\n", kApiTag);
    deleteInstance(instance);
    API_LOG(kInfo, "  %s vantel onDelete\n", kApiTag);
    return 0;
}
