// What the host asks for, as messages on the bus: one operation for each exported function.
#include "src/agent/agent_operations.h"

#include "src/agent/agent_record.h"
#include "src/agent/check_params.h"
#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "tools/json.h"

#include <cstring>

namespace vantel
{
namespace
{

constexpr char kStart[] = R"({"operation":"start"})";
constexpr char kStop[] = R"({"operation":"stop"})";

// Bytes ahead of an image: three big-endian values.
constexpr size_t kImageHeaderBytes = 12;

void putBigEndian(unsigned char *out, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        out[i] = static_cast<unsigned char>(value >> (24 - 8 * i));
}

// Whether the library plays audio that the host feeds as its own speech.
bool playsCustomData(const AgentRecord *agent)
{
    return !hasAny(agent, kCnttsExternal | kPlayerExternal);
}

int32_t noAgent()
{
    AGENT_LOG(kInfo, "  %s params is NULL\n", kAgentTag);
    return 0;
}

int asMs(int64_t audioBytes)
{
    return static_cast<int>(audioBytes / kAudioBytesPerMs);
}

// Whether this much more audio may wait for the detector's node, when there is one. The log tells
// of the begin and of the end of a spell in which it may not.
bool admitAudio(const AgentRecord *agent, int32_t bytes)
{
    if (!agent->instance || agent->instance->missingParts & kVadPart) return true;
    AudioQueue &queue = agent->instance->audio;
    int64_t waiting = queue.waitingBytes.load(std::memory_order_relaxed);
    if (waiting > agent->audioLimitBytes) {
        queue.refusedBytes += bytes;
        if (!queue.isRefusing.exchange(true))
            AGENT_LOG(kWarning,
                      "  %s onFeed refused, %d ms of audio wait for the detector, audioLimit: %d\n",
                      kAgentTag, asMs(waiting), asMs(agent->audioLimitBytes));
        return false;
    }
    if (waiting <= agent->audioLimitBytes / 2 && queue.isRefusing.load() &&
        queue.isRefusing.exchange(false))
        AGENT_LOG(kWarning, "  %s onFeed goes on, %d ms of audio were refused\n", kAgentTag,
                  asMs(queue.refusedBytes.exchange(0)));
    queue.waitingBytes.fetch_add(bytes, std::memory_order_relaxed);
    return true;
}

} // namespace

// A request without parameters: a fixed payload on a topic.
#define CONTROL(operation, topic, payload, line)                                                   \
    int32_t operation(AgentRecord *agent)                                                          \
    {                                                                                              \
        AGENT_LOG(kInfo, line, kAgentTag);                                                         \
        publishText(agent->node, topic, payload);                                                  \
        return 0;                                                                                  \
    }

CONTROL(agentEnableWakeup, topics::kSetting, kStart, "  %s onStartWakeup\n")
CONTROL(agentDisableWakeup, topics::kSetting, kStop, "  %s onStopWakeup\n")
CONTROL(agentStartListening, topics::kAsrCtrl, kStart, "  %s onStartListening\n")
CONTROL(agentStopListening, topics::kAsrCtrl, kStop, "  %s onStopListening\n")
CONTROL(agentStartDialog, topics::kDialogCtrl, kStart, "  %s onStartDialog\n")

// The same for an engine that the configuration must have enabled.
#define ENGINE_CONTROL(operation, arguments, flag, topic, payload, line, disabledLine)             \
    int32_t operation arguments                                                                    \
    {                                                                                              \
        if (!hasAny(agent, flag)) {                                                                \
            AGENT_LOG(kWarning, disabledLine, kAgentTag);                                          \
            return 0;                                                                              \
        }                                                                                          \
        AGENT_LOG(kInfo, line, kAgentTag);                                                         \
        publishText(agent->node, topic, payload);                                                  \
        return 0;                                                                                  \
    }

ENGINE_CONTROL(agentStartExtendsp, (AgentRecord * agent), kExtendspEnabled, topics::kExtendspCtrl,
               kStart, "  %s onStartExtendsp\n", "  %s disable onStartExtendsp\n")
ENGINE_CONTROL(agentStopExtendsp, (AgentRecord * agent), kExtendspEnabled, topics::kExtendspCtrl,
               kStop, "  %s onStopExtendsp\n", "  %s disable onStopExtendsp\n")
ENGINE_CONTROL(agentStartFace, (AgentRecord * agent, const char *), kFaceEnabled, topics::kFaceCtrl,
               kStart, "  %s onStartFace\n", "  %s disable onStartFace\n")
ENGINE_CONTROL(agentStopFace, (AgentRecord * agent, const char *), kFaceEnabled, topics::kFaceCtrl,
               kStop, "  %s onStopFace\n", "  %s disable onStopFace\n")

// A request whose parameters are checked, and then published as the host gave them.
#define CHECKED(operation, check, topic, line)                                                     \
    int32_t operation(AgentRecord *agent, const char *params)                                      \
    {                                                                                              \
        if (check(agent, params) != 0) return -1;                                                  \
        AGENT_LOG(kInfo, line, kAgentTag, orNull(params));                                         \
        publishText(agent->node, topic, params);                                                   \
        return 0;                                                                                  \
    }

CHECKED(agentSetWakeupWords, checkParamsSetWakeupWords, topics::kSetWakeupWords,
        "  %s onSetWakeup params: %s\n")
CHECKED(agentTriggerIntent, checkParamsTriggerIntent, topics::kTriggerIntent,
        "  %s onTriggerIntent, %s\n")
CHECKED(agentSpeak, checkParamsSpeak, topics::kSpeak, "  %s onSpeak, %s\n")
CHECKED(agentSetCustomAudio, checkParamsSetCustomAudio, topics::kSetCustomAudio,
        "  %s onSetCustomAudio params: %s\n")
CHECKED(agentSetParams, checkParamsSetParams, topics::kSetParams, "  %s onSetParams: %s\n")
CHECKED(agentOperateVocabs, checkParamsOperateVocabs, topics::kOperateVocabs,
        "  %s onOperateVocabs: %s\n")
CHECKED(agentSystemSettings, checkParamsSystemSettings, topics::kSystemSettings,
        "  %s agentSystemSettings: %s\n")
CHECKED(agentSkillSettings, checkParamsSkillSettings, topics::kSkillSettings,
        "  %s agentSkillSettings: %s\n")

int32_t agentInputText(AgentRecord *agent, const char *params)
{
    if (checkParamsAgentInputText(agent, params) != 0) return -1;
    AGENT_LOG(kInfo, "  %s onInputText\n", kAgentTag);
    publishText(agent->node, topics::kInputText, params);
    return 0;
}

int32_t agentEvaluateWakeupWords(AgentRecord *agent, const char *params)
{
    AGENT_LOG(kInfo, "  %s onEvaluateWakeupWords: %s\n", kAgentTag, orNull(params));
    return checkParamsEvaluateWakeupWords(agent, params);
}

int32_t agentSetContextSync(AgentRecord *agent, const char *params)
{
    if (!params) return 0;
    AGENT_LOG(kInfo, "  %s onSetContextSync, %s\n", kAgentTag, params);
    publishText(agent->node, topics::kSetContextSync, params);
    return 0;
}

int32_t agentOperateOauth(AgentRecord *agent, const char *params)
{
    AGENT_LOG(kInfo, "  %s onOperateOauth: %s\n", kAgentTag, orNull(params));
    if (!params) return 0;
    publishText(agent->node, topics::kOperateOauth, params);
    return 0;
}

// Voiceprint requests go to the dialog service unchecked.
#define VOICEPRINT(operation, topic, line, disabledLine)                                           \
    int32_t operation(AgentRecord *agent, const char *params)                                      \
    {                                                                                              \
        if (!agent->node) {                                                                        \
            AGENT_LOG(kWarning, disabledLine, kAgentTag);                                          \
            return 0;                                                                              \
        }                                                                                          \
        AGENT_LOG(kInfo, line, kAgentTag, orNull(params));                                         \
        publishText(agent->node, topic, params);                                                   \
        return 0;                                                                                  \
    }

VOICEPRINT(agentCloudVprRegister, topics::kVprRegister, "  %s onCloudVprRegister, params: %s\n",
           "  %s disable onCloudVprRegister\n")
VOICEPRINT(agentCloudVprUnregister, topics::kVprUnregister,
           "  %s onCloudVprUnregister, params: %s\n", "  %s disable onCloudVprUnregister\n")
VOICEPRINT(agentCloudVprVerify, topics::kVprVerify, "  %s onCloudVprVerify, params: %s\n",
           "  %s disable onCloudVprVerify\n")

#define COMPANION(operation, line)                                                                 \
    int32_t operation(AgentRecord *, const char *params)                                           \
    {                                                                                              \
        AGENT_LOG(kInfo, line, kAgentTag, orNull(params));                                         \
        return -1;                                                                                 \
    }

COMPANION(agentQXFindDevice, "  %s onQXFindDevice: %s\n")
COMPANION(agentQXDownload, "  %s onQXDownload: %s\n")
COMPANION(agentQXDFU, "  %s onQXDFU: %s\n")
COMPANION(agentQXDownloadToDFU, "  %s agentQXDownloadToDFU: %s\n")
COMPANION(agentQXReset, "  %s onQXReset: %s\n")
COMPANION(agentQXSetCustomNlg, "  %s onQXSetCustomNlg: %s\n")
COMPANION(agentQXOperateInfo, "  %s onQXOperateInfo: %s\n")

int32_t agentStopDialog(AgentRecord *agent, const char *params)
{
    AGENT_LOG(kInfo, "  %s onStopDialog, params: %s\n", kAgentTag, orNull(params));
    Json request = params ? jsonParse(params) : Json{cJSON_CreateObject()};
    if (!request) {
        AGENT_LOG(kError, "  %s onStopDialog malloc failed\n", kAgentTag);
        return -1;
    }
    // Options that are no object ask for nothing, and an operation of their own for nothing else.
    if (!cJSON_IsObject(request.get())) request.reset(cJSON_CreateObject());
    jsonRemove(request.get(), "operation");
    cJSON_AddStringToObject(request.get(), "operation", "stop");
    publishText(agent->node, topics::kDialogCtrl, jsonPrint(request.get()).get());
    return 0;
}

int32_t agentFeedData(AgentRecord *agent, const void *data, int32_t length)
{
    if (!hasAny(agent, kRecorderExternal)) {
        AGENT_LOG(kError, "  %s onFeed failed, due to using internal recorder\n", kAgentTag);
        return 0;
    }
    AGENT_LOG(kVerbose, "  %s onFeed\n", kAgentTag);
    if (length < 0) {
        AGENT_LOG(kError, "  %s onFeed failed, due to len<0\n", kAgentTag);
        return -1;
    }
    if (!data && length > 0) {
        AGENT_LOG(kError, "  %s onFeed failed, due to null data\n", kAgentTag);
        return -1;
    }
    if (!admitAudio(agent, length)) return -1;
    if (quillon_publish(agent->node, topics::kRecorderPcm, data, static_cast<uint32_t>(length)) ==
        0)
        return 0;
    if (agent->instance) audioHandled(&agent->instance->audio, length);
    AGENT_LOG(kError, "  %s onFeed failed, due to memory\n", kAgentTag);
    return -1;
}

// The two ends of audio that the host feeds as the library's own speech.
#define CUSTOM_DATA_END(operation, topic, line)                                                    \
    int32_t operation(AgentRecord *agent, const char *params)                                      \
    {                                                                                              \
        if (!agent) return noAgent();                                                              \
        if (!playsCustomData(agent)) return 0;                                                     \
        AGENT_LOG(kInfo, line, kAgentTag);                                                         \
        publishText(agent->node, topic, params);                                                   \
        return 0;                                                                                  \
    }

CUSTOM_DATA_END(agentFeedCustomTTSDataBegin, topics::kCustomDataBegin,
                "  %s agentFeedCustomTTSDatdBegin\n")
CUSTOM_DATA_END(agentFeedCustomTTSDataEnd, topics::kCustomDataEnd,
                "  %s agentFeedCustomTTSDataEnd\n")

int32_t agentFeedCustomTTSData(AgentRecord *agent, const void *data, int32_t length)
{
    if (!agent || !data) return noAgent();
    if (!playsCustomData(agent)) return 0;
    AGENT_LOG(kDebug, "  %s agentFeedCustomTTSData len: %d\n", kAgentTag, length);
    if (length < 0) {
        AGENT_LOG(kError, "  %s agentFeedCustomTTSData failed, due to len<0\n", kAgentTag);
        return -1;
    }
    quillon_publish(agent->node, topics::kTtsCustomData, data, static_cast<uint32_t>(length));
    return 0;
}

int32_t agentNotifyTTSEnd(AgentRecord *agent, const char *)
{
    if (!agent) return noAgent();
    if (playsCustomData(agent)) {
        AGENT_LOG(kWarning, "  %s agentNotifyTTSEnd, not using external player or external tts\n",
                  kAgentTag);
        return 0;
    }
    AGENT_LOG(kInfo, "  %s agentNotifyTTSEnd\n", kAgentTag);
    publishText(agent->node, topics::kPlayerWait, nullptr);
    return 0;
}

int32_t agentFeedImage(AgentRecord *agent, const void *data, int32_t length, uint32_t first,
                       uint32_t second, uint32_t third)
{
    AGENT_LOG(kDebug, "  %s onFeedImage\n", kAgentTag);
    if (!hasAll(agent, kFaceEnabled | kCameraExternal)) {
        AGENT_LOG(kWarning, "  %s disable faceEngine or using internal camera\n", kAgentTag);
        return 0;
    }
    if (length < 1 || !data) {
        AGENT_LOG(kWarning, "  %s imgLen is 0\n", kAgentTag);
        return 0;
    }
    size_t imageBytes = static_cast<size_t>(length);
    std::unique_ptr<void, HeapFree> frame{std::calloc(imageBytes + kImageHeaderBytes + 1, 1)};
    if (!frame) {
        AGENT_LOG(kError, "  %s feedImage malloc error\n", kAgentTag);
        return 0;
    }
    auto *bytes = static_cast<unsigned char *>(frame.get());
    putBigEndian(bytes, first);
    putBigEndian(bytes + 4, second);
    putBigEndian(bytes + 8, third);
    std::memcpy(bytes + kImageHeaderBytes, data, imageBytes);
    quillon_publish(agent->node, topics::kFaceImage, bytes,
                    static_cast<uint32_t>(imageBytes + kImageHeaderBytes));
    return 0;
}

} // namespace vantel
