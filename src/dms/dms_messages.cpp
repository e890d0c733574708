// What the DMS node hears and answers, and the operations of a turn.
#include "contracts/quillon.h"
#include "src/dms/dms_record.h"
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

struct Route {
    const char *name; // topic or path
    void (*handle)(DmsRecord *record, const char *text);
};

// Audio, which is no text, has its own way; every other subscribed topic is ignored.
constexpr Route kMessages[] = {
    {"sys.localDms.ctrl", onCtrl},
    {topics::kDmsReset, _dmsReset},
    {topics::kDmsCancel, requestCancel},
    {topics::kSetParams, onSetParams},
    {topics::kProcessorNetStatus, onNetStatus},
    {topics::kContextSync, onContextSync},
    {topics::kAgentExit, onExit},
};

constexpr Route kCalls[] = {
    {"/localDms/start", requestStart},
    {"/localDms/stop", requestStop},
    {"/localDms/reset", _dmsReset},
    {"/localDms/cancel", requestCancel},
};

// False when there is no route of that name.
template <size_t count>
bool follow(const Route (&routes)[count], DmsRecord *record, const char *name, const char *text)
{
    for (const Route &route : routes) {
        if (std::strcmp(route.name, name) != 0) continue;
        route.handle(record, text);
        return true;
    }
    return false;
}

} // namespace

int32_t dmsOnMessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    DMS_LOG(kVerbose, "  %s topic: %s, len: %d\n", kDmsTag, orNull(topic),
            static_cast<int>(length));
    // Longer messages are beyond the lengths of the engine.
    if (!topic || length > INT32_MAX) return 0;
    guarded(kDmsLog, [=, record = static_cast<DmsRecord *>(user)] {
        if (std::strcmp(topic, topics::kVadPcm) != 0) {
            follow(kMessages, record, topic, static_cast<const char *>(data));
        } else if (record->state == DmsState::started) {
            _dmsFeed(record, data, length);
        }
    });
    return 0;
}

char *dmsOnCall(void *user, void *, const char *path, const char *data)
{
    HeapText reply;
    guarded(kDmsLog, [&, record = static_cast<DmsRecord *>(user)] {
        if (!path || !follow(kCalls, record, path, data))
            reply = dupString(R"({"data":"localDms url not implement"})");
    });
    return reply.release();
}

} // namespace vantel::dms
