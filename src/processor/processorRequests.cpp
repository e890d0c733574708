// Turn logic: what opens and steers a turn, the host's requests and the bounds of speech.
#include "src/processor/processorRecord.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

namespace vantel::processor
{
namespace
{

// In half duplex a turn starts from silence only.
bool mayStart(const ProcessorRecord *record)
{
    if (record->status == DialogStatus::silence || isFullDuplex(record)) return true;
    PROCESSOR_LOG(kWarning, "  %s half vantel is not slience, status: %d\n", kProcessorTag,
                  static_cast<int>(record->status));
    return false;
}

void startListening(ProcessorRecord *record)
{
    if (!mayStart(record)) return;
    setFlag(record, kListenRequested, true);
    _consoleStartListening(record, R"({"aiType":"asr"})");
    publishTimerCtrl(record, kOperationStart);
    record->shouldEndSession = 0;
}

void stopListening(ProcessorRecord *record)
{
    if (!hasFlag(record, kListenRequested)) {
        PROCESSOR_LOG(kWarning, "  %s not call vantelStartListening or already asr result\n",
                      kProcessorTag);
        return;
    }
    _consoleStopListening(record, Next::understand);
    record->shouldEndSession = 1;
}

void startDialog(ProcessorRecord *record)
{
    if (!mayStart(record)) return;
    _killAllTimer(record);
    killTimer(record, Timer::keepAlive);
    killTimer(record, Timer::checkValidDm);
    _consoleStartListening(record, nullptr);
    publishTimerCtrl(record, kOperationStart);
    record->shouldEndSession = 0;
}

// With the temporary policy the cloud session outlives the dialog, until the keep-alive or the
// cancel-dialog timer resets it.
void stopDialog(ProcessorRecord *record, const cJSON *request)
{
    _killAllTimer(record);
    killTimer(record, Timer::checkValidDm);
    _consoleVadStop(record);
    if (jsonIs(request, "keepAlive", "temporary")) {
        PROCESSOR_LOG(kInfo, "  %s keepAlive temporary policy\n", kProcessorTag);
    } else {
        killTimer(record, Timer::keepAlive);
        _consoleDmsReset(record, nullptr);
    }
    changeStatus(record, DialogStatus::silence);
    restartWakeup(record);
    record->shouldEndSession = 1;
}

bool isOneshot(const ProcessorRecord *record, const cJSON *wakeup)
{
    return hasFlag(record, kOneshotEnabled) &&
           (jsonIs(wakeup, "type", "major") || jsonIs(wakeup, "type", "quickStart"));
}

// Listens at once for a command behind the wake word, and holds the wakeup in case none comes.
void startOneshot(ProcessorRecord *record, const cJSON *wakeup, const char *wakeupText,
                  const Message &message)
{
    if (jsonIs(wakeup, "type", "major")) {
        if (record->greetImmediate == 1) {
            _consoleStopSpeaking(record);
            changeStatus(record, DialogStatus::speaking);
        }
        // The DMS gets what the wakeup engine said, whatever the host made of it.
        _consoleStartListening(record, message.text());
    } else {
        _consoleStartListening(record, nullptr);
    }
    record->oneshotText = dupString(wakeupText);
    if (record->oneshotText) setTimer(record, Timer::oneshot);
    record->shouldEndSession = 0;
}

// The wakeup word's own command: for the host, or for whoever takes commands without one.
void forwardAction(ProcessorRecord *record, const char *action)
{
    const Json command{cJSON_CreateObject()};
    if (!command || !cJSON_AddStringToObject(command.get(), "api", action)) {
        PROCESSOR_LOG(kWarning, "  %s malloc failed\n", kProcessorTag);
        return;
    }
    const HeapText text = jsonPrint(command.get());
    if (hasHost(record)) {
        deliverText(record, Delivery::wkpCommandApi, text.get());
    } else {
        publishText(record->node, topics::kCommandApi, text.get());
    }
}

constexpr char kIsSilent[] = "status is slience";
constexpr char kIsEnding[] = "shouldEndSession is true";

void dropInteraction(ProcessorRecord *record, const char *reason)
{
    PROCESSOR_LOG(kInfo, "  %s dm %s, drop current interactive\n", kProcessorTag, reason);
    _consoleDmsCancel(record);
}

} // namespace

void onAsrCtrl(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    if (jsonIs(request.get(), "operation", "start")) {
        startListening(record);
    } else if (jsonIs(request.get(), "operation", "stop")) {
        stopListening(record);
    }
}

void onDialogCtrl(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    if (jsonIs(request.get(), "operation", "start")) {
        startDialog(record);
    } else if (jsonIs(request.get(), "operation", "stop")) {
        stopDialog(record, request.get());
    }
}

void onWakeupResult(ProcessorRecord *record, const Message &message)
{
    const HeapText answer = deliverToHost(record, Delivery::wakeup, message);
    if (asksToIgnore(answer.get())) {
        PROCESSOR_LOG(kInfo, "  %s drop wakeup result, due to ignore true, custom: %s\n",
                      kProcessorTag, answer.get());
        return;
    }
    const char *text = answer ? answer.get() : message.text();
    _consoleVadStop(record);
    _consoleDmsReset(record, nullptr);
    _killAllTimer(record);
    const Json wakeup = jsonParse(text);
    if (wakeup && isOneshot(record, wakeup.get())) {
        startOneshot(record, wakeup.get(), text, message);
    } else {
        _consoleParseEvent(record, text, EventKind::wakeup);
    }
    const char *action = jsonString(wakeup.get(), "action");
    if (action) forwardAction(record, action);
}

// The command behind the wake word is being spoken, or the next request of the turn.
void onVadBegin(ProcessorRecord *record, const Message &)
{
    killTimer(record, Timer::oneshot);
    record->oneshotText.reset();
    killTimer(record, Timer::dm);
}

void onVadEnd(ProcessorRecord *record, const Message &)
{
    if (record->status == DialogStatus::silence) {
        dropInteraction(record, kIsSilent);
    } else if (isFullDuplex(record) && record->shouldEndSession == 1) {
        dropInteraction(record, kIsEnding);
    } else if (!hasFlag(record, kVprDisableVad | kAsrDisableVad)) {
        _consoleStopListening(record, Next::understand);
    } else {
        _consoleSnrStopListening(record);
    }
}

void onVadTimeout(ProcessorRecord *record, const Message &)
{
    PROCESSOR_LOG(kInfo, "  %s vad timeout\n", kProcessorTag);
    if (record->status == DialogStatus::silence) {
        dropInteraction(record, kIsSilent);
    } else if (record->shouldEndSession == 1) {
        dropInteraction(record, kIsEnding);
    } else {
        _consoleStopListening(record, Next::understand);
    }
}

// The text or the intent itself is for the dialog service.
void onInput(ProcessorRecord *record, const Message &)
{
    changeStatus(record, DialogStatus::understanding);
}

void onSetting(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    if (jsonIs(request.get(), "operation", "start")) {
        setFlag(record, kWakeupEnabled, true);
    } else if (jsonIs(request.get(), "operation", "stop")) {
        setFlag(record, kWakeupEnabled, false);
    }
}

void onSetContextSync(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    if (!request) return;
    record->updateSessionTimeout =
        jsonInt(request.get(), "updateSessionTimeout", record->updateSessionTimeout);
    record->asrMaxTextLength = jsonInt(request.get(), "asrMaxTextLength", record->asrMaxTextLength);
    _consoleSyncContextDmTimeoutAsrMaxText(record, R"({"caller":"customer"})");
}

void onExtendspCtrl(ProcessorRecord *, const Message &message)
{
    PROCESSOR_LOG(kInfo, "  %s extendsp data: %s\n", kProcessorTag, orNull(message.text()));
}

void onAgentExit(ProcessorRecord *record, const Message &)
{
    PROCESSOR_LOG(kInfo, "  %s sys exit\n", kProcessorTag);
    quillon_node_stop(record->node);
}

} // namespace vantel::processor
