// Turn logic: what a turn brings back, results, replies and errors.
#include "src/agent/error_report.h"
#include "src/processor/processorRecord.h"
#include "tools/json.h"

namespace vantel::processor
{
namespace
{

bool isFinal(const cJSON *recognition)
{
    return jsonInt(recognition, "eof", 0) == 1;
}

std::string textIn(const cJSON *object, const char *key)
{
    const char *text = jsonString(object, key);
    return text ? text : "";
}

// A listening-only turn has no dialog: of its recognition only the text counts, whether the dialog
// result comes before the end of the turn or after it.
bool isOfListeningOnly(ProcessorRecord *record, const cJSON *dialogResult)
{
    const bool isIts = record->listenedText &&
                       *record->listenedText == textIn(jsonObject(dialogResult, "dm"), "input");
    if (isIts) record->listenedText.reset();
    return isIts || hasFlag(record, kListenRequested);
}

// The host's answer takes the place of what it was told.
const char *orAnswer(const HeapText &answer, const Message &message)
{
    return answer ? answer.get() : message.text();
}

void interpret(ProcessorRecord *record, const Message &message, Delivery delivery, EventKind kind)
{
    const HeapText answer = deliverToHost(record, delivery, message);
    _consoleParseEvent(record, orAnswer(answer, message), kind);
}

void forward(ProcessorRecord *record, const char *topic, const Message &message)
{
    quillon_publish(record->node, topic, message.data, message.length);
}

} // namespace

void onAsrResult(ProcessorRecord *record, const Message &message)
{
    killTimer(record, Timer::dm);
    const Json result = jsonParse(message.text());
    if (hasFlag(record, kListenRequested) && isFinal(result.get())) {
        // That was all a listening-only turn is for.
        _killAllTimer(record);
        changeStatus(record, DialogStatus::silence);
        record->shouldEndSession = 1;
        setFlag(record, kListenRequested, false);
    }
    deliverToHost(record, Delivery::asr, message);
}

void onAsrEnd(ProcessorRecord *record, const Message &)
{
    if (!hasFlag(record, kAsrResConfigured) || !isTimerLive(record, Timer::dm)) return;
    killTimer(record, Timer::dm);
    changeStatus(record, DialogStatus::silence);
}

void onLocalAsrResult(ProcessorRecord *record, const Message &message)
{
    PROCESSOR_LOG(kInfo, "  %s local asr result: %s\n", kProcessorTag, orNull(message.text()));
    const Json result = jsonParse(message.text());
    if (isFinal(result.get())) {
        _consoleDmsReset(record, nullptr);
        record->listenedText.reset();
        if (hasFlag(record, kListenRequested)) record->listenedText = textIn(result.get(), "text");
    }
    forward(record, topics::kAsrResult, message);
}

void onLocalDmResult(ProcessorRecord *record, const Message &message)
{
    const Json result = jsonParse(message.text());
    if (isOfListeningOnly(record, result.get())) return;
    PROCESSOR_LOG(kInfo, "  %s local dm result: %s\n", kProcessorTag, orNull(message.text()));
    _consoleDmsReset(record, nullptr);
    if (const cJSON *command = jsonObject(jsonObject(result.get(), "dm"), "command")) {
        const HeapText text = jsonPrint(command);
        publishText(record->node, topics::kCommandApi, text.get());
    }
    forward(record, topics::kDmsOutput, message);
}

void onDmsOutput(ProcessorRecord *record, const Message &message)
{
    _killAllTimer(record);
    killTimer(record, Timer::keepAlive);
    killTimer(record, Timer::checkValidDm);
    const Json reply = jsonParse(message.text());
    if (jsonIs(jsonObject(reply.get(), "dm"), "dataFrom", "native")) return;
    interpret(record, message, Delivery::dmOutput, EventKind::dmOutput);
}

void onRtOutput(ProcessorRecord *record, const Message &message)
{
    _killAllTimer(record);
    interpret(record, message, Delivery::rtOutput, EventKind::rtOutput);
}

void onError(ProcessorRecord *record, const Message &message)
{
    killTimer(record, Timer::dm);
    interpret(record, message, Delivery::error, EventKind::error);
}

// The skill timer runs until a reply cancels it, whether the host answers or not.
void onNativeApi(ProcessorRecord *record, const Message &message)
{
    killTimer(record, Timer::dm);
    setTimer(record, Timer::skill);
    if (!hasHost(record)) return;
    const HeapText answer = deliverToHost(record, Delivery::dmNativeApi, message);
    if (answer) {
        PROCESSOR_LOG(kInfo, "  %s native api return value: %s\n", kProcessorTag, answer.get());
        publishText(record->node, topics::kNativeResponse, answer.get());
        return;
    }
    const HeapText report = errorReport(VANTEL_ERROR_NATIVE_API_UNANSWERED, nullptr);
    PROCESSOR_LOG(kWarning, "  %s %s\n", kProcessorTag, orNull(report.get()));
}

void onNetStatus(ProcessorRecord *record, const Message &message)
{
    const HeapText answer = deliverText(record, Delivery::net, message.text());
    const char *text = orAnswer(answer, message);
    const Json report = jsonParse(text);
    const bool isUp = jsonIs(report.get(), "status", "true");
    if (!isUp && hasFlag(record, kNetUp) && record->status == DialogStatus::silence) {
        _consoleDmsReset(record, nullptr);
    }
    setFlag(record, kNetUp, isUp);
    publishText(record->node, topics::kProcessorNetStatus, text);
}

void onAuthResult(ProcessorRecord *record, const Message &message)
{
    const Json result = jsonParse(message.text());
    if (jsonIs(result.get(), "result", "success") && jsonIs(result.get(), "authType", "oauth")) {
        deliverToHost(record, Delivery::oauth, message);
    }
}

// Audio for a consumer outside this library.
void onPcm(ProcessorRecord *record, const Message &message)
{
    forward(record, "sys.localDms.pcm", message);
}

} // namespace vantel::processor
