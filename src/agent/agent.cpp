// The agent node: its record and loop, and the companion device's requests.
#include "src/agent/agent.h"

#include "src/agent/agent_record.h"
#include "src/node/node_configuration.h"
#include "src/node/node_loop.h"
#include "src/node/publish_text.h"
#include "src/node/routes.h"
#include "src/node/topics.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <cstring>
#include <memory>
#include <new>

namespace vantel
{
namespace
{

struct DeviceKey {
    const char *device;
    const char *member;
    const char *value;
    DeviceFlags flag;
};

// Only these strings count, so that a boolean true leaves a device as it is.
constexpr DeviceKey kDeviceKeys[] = {
    {"recorder", "mode", "external", kRecorderExternal},
    {"cntts", "mode", "external", kCnttsExternal},
    {"player", "mode", "external", kPlayerExternal},
    {"extendsp", "enable", "true", kExtendspEnabled},
    {"face", "enable", "true", kFaceEnabled},
    {"camera", "mode", "external", kCameraExternal},
};

uint32_t readDevices(const cJSON *configuration)
{
    uint32_t devices = 0;
    for (const DeviceKey &key : kDeviceKeys) {
        if (jsonIs(jsonObject(configuration, key.device), key.member, key.value))
            devices |= key.flag;
    }
    return devices;
}

constexpr int32_t kDefaultAudioLimitMs = 60000;

// Anything but a number above 0 leaves the default.
int64_t audioLimitBytes(const cJSON *configuration)
{
    const cJSON *limit = jsonMember(configuration, "audioLimit");
    bool isUsable = cJSON_IsNumber(limit) && limit->valueint > 0;
    return int64_t{isUsable ? limit->valueint : kDefaultAudioLimitMs} * kAudioBytesPerMs;
}

constexpr char kFailed[] = R"({"result":"failed"})";

bool hasPayload(const void *data, uint32_t length)
{
    return data && length > 0;
}

void onQxDownload(AgentRecord *agent, const char *)
{
    AGENT_LOG(kInfo, "  %s onQXDownload: %s\n", kAgentTag, "NULL");
    publishText(agent->node, "sys.qxDownload.result", kFailed);
}

void onQxDfu(AgentRecord *agent, const char *)
{
    AGENT_LOG(kInfo, "  %s onQXDFU: %s\n", kAgentTag, "NULL");
    publishText(agent->node, "sys.qxdfu.result", kFailed);
}

void onQxReset(AgentRecord *agent, const char *)
{
    AGENT_LOG(kInfo, "  %s onQXReset: %s\n", kAgentTag, "NULL");
    publishText(agent->node, "sys.qxreset.result", kFailed);
}

void onQxOperateInfo(AgentRecord *, const char *payload)
{
    if (!payload) {
        AGENT_LOG(kError, "  %s qxoperateInfo not params\n", kAgentTag);
        return;
    }
    AGENT_LOG(kInfo, "  %s onQXOperateInfo: %s\n", kAgentTag, payload);
}

void onQxFindDevice(AgentRecord *agent, const char *payload)
{
    if (!payload) {
        AGENT_LOG(kError, "  %s findDevice not params\n", kAgentTag);
        return;
    }
    AGENT_LOG(kInfo, "  %s onQXFindDevice: %s\n", kAgentTag, payload);
    Json result{cJSON_CreateObject()};
    if (!result) {
        AGENT_LOG(kError, "  %s malloc failed\n", kAgentTag);
        return;
    }
    cJSON_AddStringToObject(result.get(), "result", "failed");
    Json input = jsonParse(payload);
    if (input) jsonAdd(result.get(), "input", std::move(input));
    publishText(agent->node, "sys.qxFindDevice.result", jsonPrint(result.get()).get());
}

// In the order of subscription. The companion device is not driven here, so that its requests fail.
constexpr Route<AgentRecord, const char *> kRoutes[] = {
    // a null text without a payload
    {"root.cancel.sticky", nullptr},
    {"sys.localSocket.qxFindDevice", onQxFindDevice},
    {"sys.localSocket.qxDownload", onQxDownload},
    {"sys.localSocket.qxreset", onQxReset},
    {"sys.localSocket.qxdfu", onQxDfu},
    {"sys.localSocket.qxOperateInfo", onQxOperateInfo},
};

int32_t onmessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    if (const auto handle = handlerOf<kRoutes>(topic))
        handle(static_cast<AgentRecord *>(user),
               hasPayload(data, length) ? static_cast<const char *>(data) : nullptr);
    return 0;
}

char *oncall(void *, void *, const char *path, const char *)
{
    if (path && std::strcmp(path, "/localAgent/start") == 0) return nullptr;
    if (path && std::strcmp(path, "/localAgent/stop") == 0) return nullptr;
    AGENT_LOG(kDebug, "  %s not implement, url: %s\n", kAgentTag, orNull(path));
    return dupString(R"({"data":"localAgent url not implement"})").release();
}

void agentRun(void *argument)
{
    runNodeLoop(static_cast<AgentRecord *>(argument),
                {"localAgent", kSubscriptions<kRoutes>, onmessage, oncall});
}

} // namespace

AgentRecord *agentNew(void *bus, const char *configuration, Instance *instance)
{
    try {
        auto agent = std::make_unique<AgentRecord>();
        agent->bus = bus;
        agent->instance = instance;
        Json parsed = takeConfiguration(instance, configuration, &agent->configuration);
        agent->devices = readDevices(parsed.get());
        agent->audioLimitBytes = audioLimitBytes(parsed.get());
        return agent.release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int32_t agentStart(AgentRecord *agent)
{
    return startNodeLoop(agent, "sbcp_agent", agentRun);
}

int32_t agentStop(AgentRecord *agent)
{
    if (!agent) return 0;
    publishText(agent->node, topics::kAgentExit, nullptr);
    stopNodeLoop(agent);
    return 0;
}

int32_t agentDelete(AgentRecord *agent)
{
    delete agent;
    return 0;
}

} // namespace vantel
