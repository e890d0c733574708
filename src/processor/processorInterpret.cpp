// How the dialog goes on after a wakeup, a reply, an error or a real-time output.
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

constexpr CodeRange only(int32_t code, ErrorClass kind)
{
    return {code, code, kind};
}

// Ascending; a code outside every range is unknown.
constexpr CodeRange kCodeRanges[] = {
    {VANTEL_ERROR_ASR_NULL, VANTEL_ERROR_NLU_NULL, ErrorClass::dialog},
    only(VANTEL_ERROR_LOCAL_ASR_CONFIDENCE, ErrorClass::quiet),
    {VANTEL_ERROR_ASR_CORE, VANTEL_ERROR_LOCAL_ASR_LIMIT, ErrorClass::dialog},
    only(VANTEL_ERROR_LOCAL_ASR_NULL, ErrorClass::quiet),
    {VANTEL_ERROR_DM_TIMEOUT, VANTEL_ERROR_DM_UNREACHABLE, ErrorClass::quiet},
    only(VANTEL_ERROR_CLOUD_ASR_CONFIDENCE, ErrorClass::dialog),
    only(VANTEL_ERROR_SKILL_TIMEOUT, ErrorClass::quiet),
    only(VANTEL_ERROR_NATIVE_API_UNANSWERED, ErrorClass::dialog),
    only(VANTEL_ERROR_CLOUD_ASR_TIMEOUT, ErrorClass::quiet),
    {VANTEL_ERROR_SKILL_SETTINGS_PARAMS, VANTEL_ERROR_TRIGGER_INTENT_PARAMS, ErrorClass::dialog},
    only(VANTEL_ERROR_FULL_DUPLEX_DM_TIMEOUT, ErrorClass::quiet),
    only(VANTEL_ERROR_DM_SERVER_ABORT, ErrorClass::dialog),
    only(VANTEL_ERROR_USER_NETWORK_ABORT, ErrorClass::quiet),
    {VANTEL_ERROR_VPR_REGISTER_UNREACHABLE, VANTEL_ERROR_VPR_VERIFY_TIMEOUT, ErrorClass::dialog},
    only(VANTEL_ERROR_LASR_REALTIME_RESPONSE, ErrorClass::dialog),
    only(VANTEL_ERROR_UNKNOWN_MODULE_RESPONSE, ErrorClass::dialog),
    only(VANTEL_ERROR_CHAIN_RESPONSE_MEMBERS, ErrorClass::dialog),
    only(VANTEL_ERROR_ASRPLUS_SERVER, ErrorClass::dialog),
    {VANTEL_ERROR_VOCABS_UPDATE_TIMEOUT, VANTEL_ERROR_VPR_VERIFY_PROGRESS, ErrorClass::dialog},
    only(VANTEL_ERROR_OAUTH_PARAMS, ErrorClass::dialog),
    {VANTEL_ERROR_OAUTH_REFRESH_TOKEN, VANTEL_ERROR_OAUTH_NO_ACCESS_TOKEN, ErrorClass::quiet},
    only(VANTEL_ERROR_OAUTH_TOKEN_EXPIRED, ErrorClass::quiet),
    {VANTEL_ERROR_LOCAL_TTS_RESOURCE, VANTEL_ERROR_LOCAL_TTS_SSML, ErrorClass::dialog},
    {VANTEL_ERROR_CLOUD_TTS_TIMEOUT, VANTEL_ERROR_CLOUD_TTS_UNREACHABLE, ErrorClass::quiet},
    only(VANTEL_ERROR_CLOUD_TTS_USAGE, ErrorClass::dialog),
    only(VANTEL_ERROR_CLOUD_TTS_VOICE_COPY, ErrorClass::dialog),
    {VANTEL_ERROR_VAD_CORE, VANTEL_ERROR_SNR_NO_SILENCE, ErrorClass::dialog},
    {VANTEL_ERROR_WAKEUP_CORE, VANTEL_ERROR_WAKEUP_WORD_TAILS, ErrorClass::dialog},
    {VANTEL_ERROR_QX_DOWNLOAD, VANTEL_ERROR_QX_INFO, ErrorClass::device},
    only(VANTEL_ERROR_AUDIO_DRIVER, ErrorClass::dialog),
    only(VANTEL_ERROR_PARAMS, ErrorClass::device),
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
