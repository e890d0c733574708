// What the VAD node hears and answers.
#include "src/node/durations.h"
#include "src/node/routes.h"
#include "src/node/topics.h"
#include "src/vad/vad_record.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <climits>
#include <cstring>

namespace vantel::vad
{
namespace
{

struct Payload {
    const void *data; // null only with length 0
    int32_t length;
    const char *text() const { return static_cast<const char *>(data); } // zero-terminated, or null
};

void start(VadRecord *record)
{
    if (record->state != VadState::started) vadStartTurn(record);
}

void stop(VadRecord *record)
{
    if (record->state == VadState::started && record->detector) _vadStop(record);
}

void onCtrl(VadRecord *record, const Payload &payload)
{
    Json message = jsonParse(payload.text());
    if (jsonIs(message.get(), "operation", "start")) {
        start(record);
    } else if (jsonIs(message.get(), "operation", "stop")) {
        stop(record);
    }
}

void onSnrCalculation(VadRecord *record, const Payload &payload)
{
    vadSnrCalculation(record, payload.text());
}

void onSetParams(VadRecord *record, const Payload &payload)
{
    Json message = jsonParse(payload.text());
    const cJSON *snr = jsonObject(message.get(), "snr");
    if (!snr) return;
    record->snrThreshold = jsonFloat(snr, "confidence", record->snrThreshold);
    HeapText printed = jsonPrint(snr);
    VAD_LOG(kInfo, "  %s snr: %s\n", kVadTag, orNull(printed.get()));
}

// Audio reaches the detector while it is started. Otherwise it is kept for the pre-roll, and so it
// is beside the detector, until a pre-roll waits for the begin of speech: that one stays as it is.
void takeAudio(VadRecord *record, const Payload &payload)
{
    const bool isStarted = record->state == VadState::started;
    if (!isStarted || !hasFlag(record, kOneshotPending)) {
        if (record->oneshot && payload.data) {
            oneshotAdd(record->oneshot.get(), payload.data, payload.length);
        }
        if (!isStarted) return;
    }
    _vadFeed(record, payload.data, payload.length);
    _writeCacheVadFileName(record, payload.data, payload.length, VadCapture::feedVad);
}

void onRecorderPcm(VadRecord *record, const Payload &payload)
{
    takeAudio(record, payload);
    if (record->instance) audioHandled(&record->instance->audio, payload.length);
}

void onWakeupResult(VadRecord *record, const Payload &)
{
    VAD_LOG(kInfo, "  %s need feed oneshot audio\n", kVadTag);
    if (hasFlag(record, kOneshotEnabled)) setFlag(record, kOneshotPending);
}

void onCancelOneshotAudio(VadRecord *record, const Payload &)
{
    VAD_LOG(kInfo, "  %s cancel feed oneshot flag\n", kVadTag);
    if (!hasFlag(record, kOneshotEnabled) || !hasFlag(record, kOneshotPending)) return;
    clearFlag(record, kOneshotPending);
    if (record->oneshot) {
        _writeCacheVadFileName(record, record->oneshot->bytes.get(), record->oneshot->length,
                               VadCapture::onshot);
    }
}

void onTimerCtrl(VadRecord *record, const Payload &payload)
{
    Json message = jsonParse(payload.text());
    if (jsonIs(message.get(), "operation", "start")) {
        if (record->state != VadState::started) return;
        killVadTimer(record);
        armVadTimer(record, readPeriod(kVadLog, message.get(), "timeout", R"("timeout")",
                                       record->timeoutMs));
    } else if (jsonIs(message.get(), "operation", "stop")) {
        killVadTimer(record);
    }
}

void onAgentExit(VadRecord *record, const Payload &)
{
    VAD_LOG(kInfo, "  %s sys exit\n", kVadTag);
    stop(record);
    quillon_node_stop(record->node);
}

// In the order of subscription.
constexpr Route<VadRecord, const Payload &> kRoutes[] = {
    {topics::kVadControl, onCtrl},
    {"sys.localVad.vprRuntimeCtrl", nullptr},
    {topics::kSnrCalculation, onSnrCalculation},
    {topics::kSetParams, onSetParams},
    {topics::kRecorderPcm, onRecorderPcm},
    {topics::kWakeupResult, onWakeupResult},
    {topics::kCancelOneshotAudio, onCancelOneshotAudio},
    {topics::kAgentExit, onAgentExit},
    {topics::kTimerCtrl, onTimerCtrl},
};

int32_t onmessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    VadRecord *record = static_cast<VadRecord *>(user);
    VAD_LOG(kDebug, "  %s topic: %s, len: %d\n", kVadTag, orNull(topic), static_cast<int>(length));
    // Longer messages are beyond the lengths of the engine and of the buffers.
    if (!topic || length > INT32_MAX) return 0;
    const Payload payload{data, data ? static_cast<int32_t>(length) : 0};
    if (const auto handle = handlerOf<kRoutes>(topic))
        withoutThrowing(kVadLog, [&] { handle(record, payload); });
    return 0;
}

char *oncall(void *user, void *, const char *path, const char *)
{
    VadRecord *record = static_cast<VadRecord *>(user);
    char *reply = nullptr;
    withoutThrowing(kVadLog, [&] {
        if (path && std::strcmp(path, "/localVad/start") == 0) {
            start(record);
        } else if (path && std::strcmp(path, "/localVad/stop") == 0) {
            stop(record);
        } else {
            reply = dupString(R"({"data":"localVad url not implement"})").release();
        }
    });
    return reply;
}

} // namespace

constinit const NodeSpec kVadNode = {"localVad", kSubscriptions<kRoutes>, onmessage, oncall};

} // namespace vantel::vad
