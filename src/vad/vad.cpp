// The VAD node: its record and loop, the operations of its detector, its buffer timer.
#include "src/vad/vad.h"

#include "src/node/node_loop.h"
#include "src/vad/vad_record.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <new>

namespace vantel::vad
{
namespace
{

constexpr int32_t kBufferTimerTag = 1;

void runVad(void *argument)
{
    withoutThrowing(kVadLog, [record = static_cast<VadRecord *>(argument)] {
        auto tellHeld = [record] { publishHeldErrors(record->node, &record->held); };
        if (runNodeLoop(record, kVadNode, tellHeld) && record->detector) _vadStop(record);
    });
}

// Clears the measurement buffers again and again while no speech begins.
void timerHandler(void *user, void *, int32_t tag)
{
    VadRecord *record = static_cast<VadRecord *>(user);
    if (tag != kBufferTimerTag) {
        VAD_LOG(kVerbose, "  %s timer default\n", kVadTag);
        return;
    }
    record->timerId = kNoTimer;
    armVadTimer(record, record->timeoutMs);
    retsetSpeech(record);
    retsetSlience(record);
    retsetVoice(record);
    VAD_LOG(kWarning, "  %s vad timeout reset snr buffer\n", kVadTag);
}

// {"pauseTime": ...}, or null.
HeapText startText(const VadRecord *record)
{
    Json start{cJSON_CreateObject()};
    if (!start) {
        VAD_LOG(kError, "  %s cJSON create failed\n", kVadTag);
        return nullptr;
    }
    cJSON_AddNumberToObject(start.get(), "pauseTime", record->pauseMs);
    return jsonPrint(start.get());
}

void _vadStart(VadRecord *record, const char *text)
{
    if (!record->detector) return;
    VAD_LOG(kInfo, "  %s onStart\n", kVadTag);
    int32_t result = ostrel_vad_start(record->detector.get(), text);
    if (result != 0) {
        VAD_LOG(kError, "  %s onStart, ret: %d\n", kVadTag, result);
        return;
    }
    record->state = VadState::started;
    killVadTimer(record);
    armVadTimer(record, record->timeoutMs);
}

} // namespace

VadRecord *vadNew(void *bus, const char *configuration, Instance *instance)
{
    try {
        std::unique_ptr<VadRecord> record = std::make_unique<VadRecord>();
        for (PcmBuffer *buffer : {&record->silence, &record->speech, &record->voice}) {
            if (pcmBufferInit(buffer, kPcmBufferBytes) != 0) return nullptr;
        }
        record->bus = bus;
        record->instance = instance;
        // The detector keeps the record's address, which stays the same.
        vadConfigure(record.get(), configuration);
        return record.release();
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int32_t vadStart(VadRecord *record)
{
    return startNodeLoop(record, "sbcp_vad", runVad);
}

int32_t vadStop(VadRecord *record)
{
    if (record) stopNodeLoop(record);
    return 0;
}

int32_t _vadDelete(VadRecord *record)
{
    if (!record) return 0;
    if (record->detector) {
        int32_t result = ostrel_vad_delete(record->detector.release());
        VAD_LOG(kInfo, "  %s onDelete, ret: %d\n", kVadTag, result);
        if (result == 0) record->state = VadState::created;
    }
    delete record;
    return 0;
}

void vadStartTurn(VadRecord *record)
{
    HeapText text = startText(record);
    _vadStart(record, text.get());
    _createCacheVadFileName(record, kNamesOfStart);
}

int32_t _vadStop(VadRecord *record)
{
    VAD_LOG(kInfo, "  %s onStop\n", kVadTag);
    int32_t result = ostrel_vad_stop(record->detector.get());
    if (result == 0) {
        record->state = VadState::stopped;
    } else {
        VAD_LOG(kError, "  %s onStop, ret: %d\n", kVadTag, result);
    }
    killVadTimer(record);
    return result == 0 ? 0 : -1;
}

int32_t _vadFeed(VadRecord *record, const void *pcm, int32_t bytes)
{
    if (!record->detector) return 0;
    VAD_LOG(kVerbose, "  %s onFeed\n", kVadTag);
    uint32_t before = nowMs();
    int32_t result = ostrel_vad_feed(record->detector.get(), pcm, bytes);
    if (result != 0) VAD_LOG(kError, "  %s onFeed, ret: %d\n", kVadTag, result);
    uint32_t after = nowMs();
    VAD_LOG(kDebug, "  %s feed old: %lu, curTime: %lu, diff: %lu\n", kVadTag, asLu(before),
            asLu(after), asLu(after - before));
    // Only now: what the detector says while it is fed is about the audio of earlier chunks.
    addSpeech(record, pcm, bytes);
    return result == 0 ? 0 : -1;
}

void armVadTimer(VadRecord *record, int32_t timeoutMs)
{
    record->timerId =
        quillon_timer_set(record->node, timerHandler, timeoutMs, kBufferTimerTag, record);
    VAD_LOG(kDebug, "  %s setTimer, %d\n", kVadTag, record->timerId);
}

void killVadTimer(VadRecord *record)
{
    if (record->timerId > 0) {
        quillon_timer_kill(record->node, record->timerId);
        VAD_LOG(kDebug, "  %s killTimer, %d\n", kVadTag, record->timerId);
    }
    record->timerId = kNoTimer;
}

} // namespace vantel::vad
