// Turn logic: what the host says or plays itself.
#include "src/processor/processorRecord.h"
#include "tools/json.h"

#include <cstring>

namespace vantel::processor
{
namespace
{

void logMissingOperation()
{
    PROCESSOR_LOG(kError, "  %s need operation, format error\n", kProcessorTag);
}

// Speech and audio of the host wait for the end of the dialog, unless they are privileged.
bool mayInterrupt(const ProcessorRecord *record, const cJSON *request)
{
    return record->status == DialogStatus::silence || hasFlag(record, kCnttsPrivilege) ||
           jsonIs(request, "privilege", "true");
}

// In half duplex nothing is heard while the host plays; `interrupter` is the word of the log line.
void stopHalfDuplexTurn(ProcessorRecord *record, const char *interrupter)
{
    if (isFullDuplex(record)) return;
    _consoleVadStop(record);
    if (record->status != DialogStatus::listening) return;
    PROCESSOR_LOG(kInfo, "  %s half not listening, due to %s\n", kProcessorTag, interrupter);
    changeStatus(record, DialogStatus::silence);
}

bool mayFeedAudio(const ProcessorRecord *record)
{
    return hasFlag(record, kCustomTtsActive | kCnttsPrivilege);
}

void dialogPlayedOut(ProcessorRecord *record)
{
    changeStatus(record, DialogStatus::silence);
    if (isFullDuplex(record)) {
        if (!hasFlag(record, kStreamData)) {
            PROCESSOR_LOG(kInfo, "  %s reset kcs\n", kProcessorTag);
            _consoleDmsReset(record, nullptr);
        }
        _consoleStopListening(record, Next::stay);
    }
    _consoleDmsCancel(record);
}

void dialogGoesOn(ProcessorRecord *record)
{
    if (isFullDuplex(record)) {
        restartTimer(record, Timer::checkValidDm);
        publishTimerCtrl(record, kOperationStart);
    } else {
        _consoleStartListening(record, nullptr);
    }
    restartTimer(record, Timer::keepAlive);
}

} // namespace

void onSpeak(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    const char *operation = jsonString(request.get(), "operation");
    if (!operation) return logMissingOperation();
    if (!mayInterrupt(record, request.get())) {
        if (std::strcmp(operation, "stop") != 0) {
            PROCESSOR_LOG(kWarning, "  %s disable speak start in dialog\n", kProcessorTag);
        }
        return;
    }
    if (std::strcmp(operation, "start") != 0) return;
    stopHalfDuplexTurn(record, "tts");
    changeStatus(record, DialogStatus::speaking);
}

void onCustomDataBegin(ProcessorRecord *record, const Message &message)
{
    const Json request = jsonParse(message.text());
    if (!mayInterrupt(record, request.get())) {
        PROCESSOR_LOG(kError, "  %s disable feedCustomDataBegin in dialog\n", kProcessorTag);
        return;
    }
    PROCESSOR_LOG(kDebug, "  %s feedCustomDataBegin \n", kProcessorTag);
    publishText(record->node, topics::kTtsBegin, nullptr);
    stopHalfDuplexTurn(record, "player");
    publishText(record->node, topics::kPlayerCtrl, kOperationStart);
    changeStatus(record, DialogStatus::speaking);
    setFlag(record, kCustomTtsActive, true);
}

void onCustomData(ProcessorRecord *record, const Message &message)
{
    if (!mayFeedAudio(record)) {
        PROCESSOR_LOG(kWarning, "  %s not feedCustomDataBegin\n", kProcessorTag);
        return;
    }
    PROCESSOR_LOG(kDebug, "  %s feedCustomData, len: %d\n", kProcessorTag,
                  static_cast<int>(message.length));
    quillon_publish(record->node, topics::kTtsPcm, message.data, message.length);
}

void onCustomDataEnd(ProcessorRecord *record, const Message &)
{
    if (!mayFeedAudio(record)) {
        PROCESSOR_LOG(kError, "  %s  not feedCustomDataBegin\n", kProcessorTag);
        return;
    }
    PROCESSOR_LOG(kDebug, "  %s feedCustomDataEnd \n", kProcessorTag);
    publishText(record->node, topics::kTtsEnd, nullptr);
    setFlag(record, kCustomTtsActive, false);
}

void onPlayerBegin(ProcessorRecord *record, const Message &)
{
    deliverText(record, Delivery::playerBegin, R"({"status":"begin"})");
}

void onPlayerWait(ProcessorRecord *record, const Message &message)
{
    const HeapText answer = deliverText(record, Delivery::playerWait, R"({"status":"end"})");
    if (asksToIgnore(answer.get())) {
        PROCESSOR_LOG(kInfo, "  %s drop player.wait result, due to ignore true, custom: %s\n",
                      kProcessorTag, answer.get());
        return;
    }
    if (isFullDuplex(record)) _consoleSyncPlayerEnd(record);
    PROCESSOR_LOG(kInfo, "  %s topic: %s, data: %s, shouldEndSession: %d\n", kProcessorTag,
                  message.topic, orNull(message.text()), record->shouldEndSession);
    if (record->shouldEndSession == 1) {
        dialogPlayedOut(record);
    } else {
        dialogGoesOn(record);
    }
    restartWakeup(record);
}

} // namespace vantel::processor
