// What the DMS node hears and answers, and the operations of a turn.
#include "contracts/quillon.h"
#include "src/dms/dms_record.h"
#include "src/node/routes.h"
#include "src/node/topics.h"
#include "tools/quenda_tool.h"

#include <cstring>

namespace vantel::dms
{
namespace
{

void _createCacheAsrFileName(DmsRecord *record)
{
    if (!record->cachePcm) return;
    const CaptureStamp stamp = captureStamp(record->deviceId.c_str());
    record->asrCapture = captureName(kAsrCaptures, record->homePath, stamp, "");
    DMS_LOG(kInfo, "  %s asr pcm path: %s\n", kDmsTag, record->asrCapture.c_str());
}

void _writeCacheAsrFileName(const DmsRecord *record, const void *bytes, uint32_t count)
{
    if (!record->cachePcm || record->asrCapture.empty()) return;
    appendCapture(kAsrCaptures, record->asrCapture, bytes, count);
}

void _dmsStart(DmsRecord *record, const char *params)
{
    DMS_LOG(kInfo, "  %s onStart\n", kDmsTag);
    _createCacheAsrFileName(record);
    _getWakeupWordsSets(record, params);
    ldmStart(record, textOrNull(record->asrEnv));
    record->state = DmsState::started;
}

void _dmsStop(DmsRecord *record)
{
    DMS_LOG(kInfo, "  %s onStop\n", kDmsTag);
    ldmStop(record);
    record->state = DmsState::stopped;
}

void _dmsReset(DmsRecord *record, const char *params)
{
    DMS_LOG(kInfo, "  %s onReset params: %s\n", kDmsTag, orNull(params));
    ldmReset(record);
    record->state = DmsState::stopped;
}

void _dmsCancel(DmsRecord *record, const char *params)
{
    DMS_LOG(kInfo, "  %s onCancel params: %s\n", kDmsTag, orNull(params));
    ldmReset(record);
    record->state = DmsState::stopped;
}

void _dmsFeed(DmsRecord *record, const void *pcm, uint32_t bytes)
{
    DMS_LOG(kVerbose, "  %s onFeed\n", kDmsTag);
    _writeCacheAsrFileName(record, pcm, bytes);
    const uint32_t before = nowMs();
    ldmFeed(record, pcm, static_cast<int32_t>(bytes));
    const uint32_t after = nowMs();
    DMS_LOG(kDebug, "  %s feed old: %lu, curTime: %lu, diff: %lu\n", kDmsTag, asLu(before),
            asLu(after), asLu(after - before));
}

// The same four requests come as calls and as topics; most mind the state.
void requestStart(DmsRecord *record, const char *params)
{
    if (record->state != DmsState::started) _dmsStart(record, params);
}

void requestStop(DmsRecord *record, const char *)
{
    if (record->state == DmsState::started) _dmsStop(record);
}

void requestCancel(DmsRecord *record, const char *params)
{
    if (record->state == DmsState::started) _dmsCancel(record, params);
}

void onCtrl(DmsRecord *record, const char *payload)
{
    Json parsed = jsonParse(payload);
    if (jsonIs(parsed.get(), "operation", "start")) requestStart(record, payload);
    if (jsonIs(parsed.get(), "operation", "stop")) requestStop(record, payload);
}

void onSetParams(DmsRecord *record, const char *payload)
{
    Json parsed = jsonParse(payload);
    record->asrConfidence =
        jsonFloat(jsonObject(parsed.get(), "asr"), "confidence", record->asrConfidence);
}

void onNetStatus(DmsRecord *, const char *payload)
{
    DMS_LOG(kDebug, "  %s net status: %s\n", kDmsTag, orNull(payload));
}

void onContextSync(DmsRecord *, const char *payload)
{
    DMS_LOG(kInfo, "  %s sys.context.sync, data: %s\n", kDmsTag, orNull(payload));
}

void onExit(DmsRecord *record, const char *)
{
    DMS_LOG(kInfo, "  %s sys exit\n", kDmsTag);
    quillon_node_stop(record->node);
}

using DmsRoute = Route<DmsRecord, const char *>;

// In the order of subscription. Audio, which is no text, has its own way; what has no handler is
// for a dialog service.
constexpr DmsRoute kMessages[] = {
    {"sys.localDms.ctrl", onCtrl},
    {topics::kSetParams, onSetParams},
    {topics::kVadPcm, nullptr},
    {topics::kOperateOauth, nullptr},
    {topics::kNativeResponse, nullptr},
    {topics::kInputText, nullptr},
    {topics::kTriggerIntent, nullptr},
    {topics::kOperateVocabs, nullptr},
    {topics::kSystemSettings, nullptr},
    {topics::kSkillSettings, nullptr},
    {topics::kProcessorNetStatus, onNetStatus},
    {topics::kAgentExit, onExit},
    {topics::kContextSync, onContextSync},
    {topics::kDmsCancel, requestCancel},
    {topics::kDmsReset, _dmsReset},
    {topics::kSyncDmTimeoutAsrMaxText, nullptr},
    {topics::kVprRegister, nullptr},
    {topics::kVprUnregister, nullptr},
    {topics::kVprVerify, nullptr},
};

constexpr DmsRoute kCalls[] = {
    {"/localDms/start", requestStart},
    {"/localDms/stop", requestStop},
    {"/localDms/reset", _dmsReset},
    {"/localDms/cancel", requestCancel},
};

int32_t onmessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    DMS_LOG(kVerbose, "  %s topic: %s, len: %d\n", kDmsTag, orNull(topic),
            static_cast<int>(length));
    // Longer messages are beyond the lengths of the engine.
    if (!topic || length > INT32_MAX) return 0;
    withoutThrowing(kDmsLog, [=, record = static_cast<DmsRecord *>(user)] {
        if (const auto handle = handlerOf<kMessages>(topic)) {
            handle(record, static_cast<const char *>(data));
        } else if (record->state == DmsState::started && std::strcmp(topic, topics::kVadPcm) == 0) {
            _dmsFeed(record, data, length);
        }
    });
    return 0;
}

char *oncall(void *user, void *, const char *path, const char *data)
{
    HeapText reply;
    withoutThrowing(kDmsLog, [&, record = static_cast<DmsRecord *>(user)] {
        if (const auto handle = handlerOf<kCalls>(path))
            handle(record, data);
        else
            reply = dupString(R"({"data":"localDms url not implement"})");
    });
    return reply.release();
}

} // namespace

constinit const NodeSpec kDmsNode = {"localDms", kSubscriptions<kMessages>, onmessage, oncall};

} // namespace vantel::dms
