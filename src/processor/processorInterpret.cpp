#include "src/processor/processorRecord.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <iterator>

namespace vantel::processor
{
namespace
{

enum class ErrorClass : uint8_t {
    unknown,
    quiet,  // ends the dialog without a line in the log
    dialog, // ends the dialog
    device, // of the companion device or of a request's parameters: the dialog is not concerned
};

struct CodeRange {
    int32_t first;
    int32_t last;
    ErrorClass kind;
};

// Ascending; a code outside every range is unknown.
constexpr CodeRange kCodeRanges[] = {
    {-7999, -7998, ErrorClass::dialog}, {-7899, -7899, ErrorClass::quiet},
    {-7898, -7897, ErrorClass::dialog}, {-7896, -7896, ErrorClass::quiet},
    {-7799, -7798, ErrorClass::quiet},  {-7797, -7797, ErrorClass::dialog},
    {-7796, -7796, ErrorClass::quiet},  {-7795, -7795, ErrorClass::dialog},
    {-7794, -7794, ErrorClass::quiet},  {-7793, -7782, ErrorClass::dialog},
    {-7780, -7780, ErrorClass::quiet},  {-7779, -7779, ErrorClass::dialog},
    {-7778, -7778, ErrorClass::quiet},  {-7776, -7768, ErrorClass::dialog},
    {-7763, -7763, ErrorClass::dialog}, {-7761, -7761, ErrorClass::dialog},
    {-7759, -7759, ErrorClass::dialog}, {-7757, -7757, ErrorClass::dialog},
    {-7754, -7739, ErrorClass::dialog}, {-7697, -7697, ErrorClass::dialog},
    {-7696, -7695, ErrorClass::quiet},  {-7693, -7693, ErrorClass::quiet},
    {-7599, -7598, ErrorClass::dialog}, {-7499, -7498, ErrorClass::quiet},
    {-7497, -7497, ErrorClass::dialog}, {-7495, -7495, ErrorClass::dialog},
    {-7399, -7394, ErrorClass::dialog}, {-7299, -7288, ErrorClass::dialog},
    {-7099, -7078, ErrorClass::device}, {-6999, -6999, ErrorClass::dialog},
    {-6899, -6899, ErrorClass::device},
};

static_assert(std::ranges::is_sorted(kCodeRanges, {}, &CodeRange::last));

ErrorClass classify(int32_t code)
{
    const CodeRange *range = std::ranges::lower_bound(kCodeRanges, code, {}, &CodeRange::last);
    return range != std::end(kCodeRanges) && range->first <= code ? range->kind
                                                                  : ErrorClass::unknown;
}

bool isNonEmpty(const char *text)
{
    return text && *text != '\0';
}

bool hasSpeech(const cJSON *dm)
{
    return isNonEmpty(jsonString(dm, "nlg"));
}

void keepSession(ProcessorRecord *record, const cJSON *reply)
{
    const char *sessionId = jsonString(reply, "sessionId");
    record->sessionId = isNonEmpty(sessionId) ? dupString(sessionId) : nullptr;
}

// Whether the member decided; the value before holds otherwise.
bool readShouldEndSession(ProcessorRecord *record, const cJSON *dm)
{
    const cJSON *shouldEnd = jsonMember(dm, "shouldEndSession");
    if (!cJSON_IsBool(shouldEnd)) {
        PROCESSOR_LOG(kWarning, "  %s not implement shouldEndSession\n", kProcessorTag);
        return false;
    }
    record->shouldEndSession = cJSON_IsTrue(shouldEnd) ? 1 : 0;
    return true;
}

void endDialog(ProcessorRecord *record)
{
    changeStatus(record, DialogStatus::silence);
}

void wakeup(ProcessorRecord *record, const cJSON *result)
{
    dropSession(record);
    record->shouldEndSession = jsonIs(result, "type", "major") ? 0 : 1;
    if (record->shouldEndSession == 1 && !jsonIs(result, "type", "command")) {
        PROCESSOR_LOG(kWarning, "  %s not implement\n", kProcessorTag);
    }
    _consoleDmsReset(record, nullptr);
    // A greeting is spoken first; the end of its playback goes on with the dialog.
    if (!jsonString(result, "greeting")) _consoleStartListening(record, nullptr);
    restartWakeup(record);
}

void dmOutput(ProcessorRecord *record, const cJSON *reply)
{
    const cJSON *dm = jsonObject(reply, "dm");
    readShouldEndSession(record, dm);
    if (hasSpeech(dm) || !isFullDuplex(record)) {
        _consoleStopSpeaking(record);
        _consoleStopListening(record, Next::stay);
    }
    dropSession(record);
    if (record->shouldEndSession == 1) {
        endDialog(record);
    } else {
        keepSession(record, reply);
        // The turn behind a spoken reply starts when the host reports the end of its playback.
        if (!hasSpeech(dm)) {
            _consoleStartListening(record, nullptr);
            if (isFullDuplex(record)) restartTimer(record, Timer::checkValidDm);
        }
        publishTimerCtrl(record, kOperationStart);
    }
    restartWakeup(record);
}

// Whether the error ends the dialog.
bool isDialogError(const cJSON *error)
{
    const cJSON *errId = jsonMember(error, "errId");
    if (!errId) return true;
    const ErrorClass kind = classify(errId->valueint);
    switch (kind) {
    case ErrorClass::device:
        PROCESSOR_LOG(kVerbose, "  %s drop th handle\n", kProcessorTag);
        break;
    case ErrorClass::dialog:
        PROCESSOR_LOG(kVerbose, "  %s drop dialog handle\n", kProcessorTag);
        break;
    case ErrorClass::unknown:
        PROCESSOR_LOG(kError, "  %s noknown error\n", kProcessorTag);
        break;
    case ErrorClass::quiet:
        break;
    }
    return kind != ErrorClass::device;
}

void error(ProcessorRecord *record, const cJSON *report)
{
    _consoleStopSpeaking(record);
    _consoleStopListening(record, Next::stay);
    _consoleDmsReset(record, nullptr);
    if (!isDialogError(report)) return;
    record->shouldEndSession = 1;
    endDialog(record);
    restartWakeup(record);
}

bool carriesSpeech(const cJSON *output)
{
    const char *nlg = jsonString(jsonObject(output, "dm"), "nlg");
    return nlg ? *nlg != '\0' : jsonString(output, "speakUrl") != nullptr;
}

// Only a response that the dialog service took back concerns the dialog.
void rtOutput(ProcessorRecord *record, const cJSON *output)
{
    const cJSON *dm = jsonObject(output, "dm");
    if (!jsonIs(jsonObject(dm, "command"), "api", "discardResponse")) return;
    dropSession(record);
    if (readShouldEndSession(record, dm) && record->shouldEndSession == 0) {
        keepSession(record, output);
    }
    if (carriesSpeech(output)) {
        PROCESSOR_LOG(kWarning, "  %s rt.output should not have nlg or speakurl\n", kProcessorTag);
        return;
    }
    if (record->shouldEndSession == 0) {
        _consoleStartListening(record, nullptr);
        publishTimerCtrl(record, kOperationStart);
        return;
    }
    endDialog(record);
    if (isFullDuplex(record)) {
        _consoleDmsReset(record, nullptr);
        _consoleStopListening(record, Next::stay);
    }
}

} // namespace

int32_t _consoleParseEvent(ProcessorRecord *record, const char *text, EventKind kind)
{
    const Json parsed = jsonParse(text);
    switch (kind) {
    case EventKind::wakeup:
        wakeup(record, parsed.get());
        break;
    case EventKind::dmOutput:
        dmOutput(record, parsed.get());
        break;
    case EventKind::error:
        error(record, parsed.get());
        break;
    case EventKind::rtOutput:
        rtOutput(record, parsed.get());
        break;
    }
    return 0;
}

} // namespace vantel::processor
