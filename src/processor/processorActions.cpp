// What the dialog does: fixed sequences of calls and publications, and the paths that it answers.
#include "src/agent/error_report.h"
#include "src/processor/processorRecord.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vantel::processor
{
namespace
{

constexpr char kSnrBegin[] = R"({"status":"begin"})";
constexpr char kSnrEnd[] = R"({"status":"end"})";
// The blank is part of what recorders outside this library compare.
constexpr char kRecorderStart[] = R"({"operation":"start", "module":"dm"})";
constexpr char kRecorderStop[] = R"({"operation":"stop", "module":"dm"})";

// A null text is a call without data. The reply is the bus's, valid until the next call.
const char *callPath(ProcessorRecord *record, const char *path, const char *text = nullptr)
{
    return quillon_call(record->node, path, text, textLength(text));
}

void _consoleDmsStart(ProcessorRecord *record, const char *payload)
{
    PROCESSOR_LOG(kInfo, "  %s onStart dms\n", kProcessorTag);
    _consoleSyncContextDmTimeoutAsrMaxText(record, R"({"caller":"dm"})");
    callPath(record, "/localDms/start", payload);
    publishText(record->node, topics::kRecorderCtrl, kRecorderStart);
}

void _consoleDmsStop(ProcessorRecord *record)
{
    PROCESSOR_LOG(kInfo, "  %s onStop dms\n", kProcessorTag);
    callPath(record, "/localDms/stop");
    publishText(record->node, topics::kRecorderCtrl, kRecorderStop);
}

// Adds the held session's id, if there is one, and an empty event to `context`. Returns the event;
// null without memory, which may be why there is no context either.
cJSON *addDispatchEvent(const ProcessorRecord *record, cJSON *context)
{
    const char *id = record->sessionId.get();
    if (id && !cJSON_AddStringToObject(context, "sessionId", id)) return nullptr;
    return cJSON_AddObjectToObject(cJSON_AddObjectToObject(context, "async"), "dispatchEvent");
}

// False without memory.
bool addLimit(cJSON *event, const char *key, int32_t value)
{
    return value == kUnset || cJSON_AddNumberToObject(event, key, value);
}

// Adds what the host has set; nothing when there is no memory for all of it.
void addSyncContext(const ProcessorRecord *record, cJSON *request)
{
    cJSON *context = cJSON_AddObjectToObject(request, "syncContext");
    cJSON *event = addDispatchEvent(record, context);
    const bool isWhole = event &&
                         addLimit(event, "updateSessionTimeout", record->updateSessionTimeout) &&
                         addLimit(event, "asrMaxTextLength", record->asrMaxTextLength);
    if (!isWhole) cJSON_DeleteItemFromObject(request, "syncContext");
}

struct ForwardedPath {
    const char *path;
    const char *target; // null: answered with null
    bool endsTheTurn;   // the device is about to go away
};

constexpr ForwardedPath kForwardedPaths[] = {
    {"/localProcessor/QXFindDevice", nullptr, false},
    {"/localProcessor/QXDownload", "/localWakeup/QXDownload", true},
    {"/localProcessor/QXDFU", "/localWakeup/QXDFU", true},
    {"/localProcessor/QXReset", "/localWakeup/QXReset", true},
    {"/localProcessor/QXOperateInfo", "/localWakeup/QXOperateInfo", false},
    {"/localProcessor/QXDownloadToDFU", "/localWakeup/QXDownloadToDFU", true},
};

HeapText answerCall(ProcessorRecord *record, const char *path, const char *data)
{
    const ForwardedPath *row =
        std::ranges::find_if(kForwardedPaths, [path](const ForwardedPath &known) {
            return std::strcmp(known.path, path) == 0;
        });
    if (row == std::end(kForwardedPaths)) {
        return dupString(R"({"data":"localProcessor url not implement"})");
    }
    if (!row->target) return nullptr;
    if (row->endsTheTurn) {
        _consoleStopSpeaking(record);
        _consoleDmsReset(record, nullptr);
        _consoleVadStop(record);
    }
    const char *reply = callPath(record, row->target, data);
    return reply && *reply != '\0' ? dupString(reply) : nullptr;
}

void _consoleVadStart(ProcessorRecord *record)
{
    PROCESSOR_LOG(kInfo, "  %s onStart vad\n", kProcessorTag);
    callPath(record, "/localVad/start");
}

// A part that could not be started hears nothing and finds nothing; each turn that needs it ends
// with the error.
void tellMissingParts(ProcessorRecord *record)
{
    if (!record->instance) return;
    const uint32_t missing = record->instance->missingParts;
    if (missing & kVadPart) publishError(record->node, VANTEL_ERROR_VAD_CORE);
    if (missing & kDmsPart) publishError(record->node, VANTEL_ERROR_ASR_CORE);
}

} // namespace

void _consoleVadStop(ProcessorRecord *record)
{
    PROCESSOR_LOG(kInfo, "  %s onStop vad\n", kProcessorTag);
    callPath(record, "/localVad/stop");
}

void _consoleDmsReset(ProcessorRecord *record, const char *payload)
{
    PROCESSOR_LOG(kInfo, "  %s onReset dms\n", kProcessorTag);
    publishText(record->node, topics::kDmsReset, payload);
    dropSession(record);
    callPath(record, "/localRecorder/stop", kRecorderStop);
}

void _consoleDmsCancel(ProcessorRecord *record)
{
    PROCESSOR_LOG(kInfo, "  %s onCancel dms\n", kProcessorTag);
    publishText(record->node, topics::kDmsCancel, nullptr);
}

void _consoleStopSpeaking(ProcessorRecord *)
{
    PROCESSOR_LOG(kInfo, "  %s onStop speaking\n", kProcessorTag);
}

void _consoleWakeupStart(ProcessorRecord *)
{
    PROCESSOR_LOG(kInfo, "  %s disable wakeup\n", kProcessorTag);
}

void _consoleStartListening(ProcessorRecord *record, const char *payload)
{
    PROCESSOR_LOG(kInfo, "  %s onStart listening\n", kProcessorTag);
    publishText(record->node, topics::kSnrCalculation, kSnrBegin);
    _consoleVadStart(record);
    _consoleDmsStart(record, payload);
    changeStatus(record, DialogStatus::listening);
    tellMissingParts(record);
}

// In full duplex a dialog that goes on keeps its VAD, and one that ends leaves the DMS to its reset
// or cancel.
void _consoleStopListening(ProcessorRecord *record, Next next)
{
    PROCESSOR_LOG(kInfo, "  %s onStop listening\n", kProcessorTag);
    if (!isFullDuplex(record) || record->shouldEndSession == 1) _consoleVadStop(record);
    if (!isFullDuplex(record) || record->shouldEndSession == 0) _consoleDmsStop(record);
    publishText(record->node, topics::kSnrCalculation, kSnrEnd);
    if (next == Next::understand) changeStatus(record, DialogStatus::understanding);
}

void _consoleSnrStopListening(ProcessorRecord *record)
{
    PROCESSOR_LOG(kInfo, "  %s onStop listening\n", kProcessorTag);
    if (hasFlag(record, kVadFullMode)) return;
    _consoleVadStop(record);
    // For the next utterance of the same listening turn.
    if (hasFlag(record, kListenRequested)) _consoleVadStart(record);
}

void _consoleSyncContextDmTimeoutAsrMaxText(ProcessorRecord *record, const char *callerText)
{
    if (!isFullDuplex(record)) {
        PROCESSOR_LOG(kInfo, "  %s not use fullDulpx, not support syncDmTimeoutAsrMaxText\n",
                      kProcessorTag);
        return;
    }
    if (record->updateSessionTimeout == kUnset && record->asrMaxTextLength == kUnset) {
        PROCESSOR_LOG(kInfo, "  %s updateSessionTimeout: %d, asrMaxTextLength: %d\n", kProcessorTag,
                      record->updateSessionTimeout, record->asrMaxTextLength);
        return;
    }
    const Json request = jsonParse(callerText);
    if (!request) {
        PROCESSOR_LOG(kError, "  %s not json format, data: %s\n", kProcessorTag,
                      orNull(callerText));
        return;
    }
    addSyncContext(record, request.get());
    const HeapText text = jsonPrint(request.get());
    publishText(record->node, topics::kSyncDmTimeoutAsrMaxText, text.get());
}

void _consoleSyncPlayerEnd(ProcessorRecord *record)
{
    if (!record->sessionId) {
        PROCESSOR_LOG(kDebug, "  %s syncPlayerEnd sessionId is null, shouldEndSession: %d\n",
                      kProcessorTag, record->shouldEndSession);
        return;
    }
    const Json state{cJSON_CreateObject()};
    cJSON *event = addDispatchEvent(record, state.get());
    HeapText text;
    if (cJSON_AddStringToObject(event, "playerState", "off")) text = jsonPrint(state.get());
    if (!text) {
        PROCESSOR_LOG(kError, "  %s sync playerEnd status format error, ret: %d\n", kProcessorTag,
                      -1);
        return;
    }
    publishText(record->node, topics::kContextSync, text.get());
}

void restartWakeup(ProcessorRecord *record)
{
    if (!hasFlag(record, kWakeupEnabled)) _consoleWakeupStart(record);
}

void publishTimerCtrl(ProcessorRecord *record, const char *operation)
{
    if (isFullDuplex(record)) publishText(record->node, topics::kTimerCtrl, operation);
}

void dropSession(ProcessorRecord *record)
{
    if (!record->sessionId) return;
    PROCESSOR_LOG(kInfo, "  %s clear sessionId: %s\n", kProcessorTag, record->sessionId.get());
    record->sessionId.reset();
}

char *processorOnCall(void *user, void *, const char *path, const char *data)
{
    ProcessorRecord *record = static_cast<ProcessorRecord *>(user);
    HeapText reply;
    if (record && path)
        withoutThrowing(kProcessorLog, [&] { reply = answerCall(record, path, data); });
    return reply.release();
}

} // namespace vantel::processor
