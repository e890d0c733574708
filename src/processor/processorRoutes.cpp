// Which topic is handled by whom, and how each host event is delivered.
#include "src/node/routes.h"
#include "src/processor/processorRecord.h"
#include "tools/json.h"

#include <string_view>

namespace vantel::processor
{
namespace
{

// What becomes of the host's answer.
enum class Answer : uint8_t { freed, used };

struct HostEvent {
    Delivery delivery;
    int32_t event;
    Answer answer;
    int32_t stampLevel;
    // Log lines before and after the call; one that ends in a colon and a blank goes on with the
    // data or with the answer.
    const char *stamp;
    const char *after;
    int32_t type = VANTEL_TYPE_JSON;
};

constexpr auto kFreed = Answer::freed;
constexpr auto kUsed = Answer::used;

constexpr HostEvent kHostEvents[] = {
    {Delivery::wakeup, VANTEL_EVENT_WAKEUP, kUsed, kInfo,
     "wakeup vantelHandle stamp, data: ", "wakeup vantelHandle, customdata: "},
    {Delivery::asr, VANTEL_EVENT_ASR, kFreed, kInfo,
     "asr vantelHandle stamp, data: ", "asr vantelHandle, customdata: "},
    {Delivery::dmOutput, VANTEL_EVENT_DM_OUTPUT, kUsed, kInfo,
     "dmOutput vantelHandle stamp, data: ", "dmOutput vantelHandle, customdata: "},
    {Delivery::error, VANTEL_EVENT_ERROR, kUsed, kInfo,
     "error vantelHandle stamp, data: ", "error vantelHandle"},
    {Delivery::snr, VANTEL_EVENT_SNR, kFreed, kInfo,
     "snr vantelHandle stamp, data: ", "snr vantelHandle, customdata: "},
    {Delivery::doa, VANTEL_EVENT_DOA, kFreed, kInfo,
     "doa vantelHandle stamp, data: ", "doa vantelHandle, customdata: "},
    {Delivery::vprRuntime, VANTEL_EVENT_VPR_RUNTIME, kFreed, kInfo,
     "vprRuntime vantelHandle stamp, data: ", "vprRuntime vantelHandle, customdata: "},
    {Delivery::recorderCtrl, VANTEL_EVENT_RECORDER, kFreed, kInfo,
     "recorder ctrl vantelHandle stamp, data: ", "recorder ctrl vantelHandle end"},
    {Delivery::dmCommandApi, VANTEL_EVENT_COMMAND, kFreed, kInfo,
     "dmCommandApi vantelHandle stamp, data: ", "dmCommandApi vantelHandle, customdata: "},
    {Delivery::wkpCommandApi, VANTEL_EVENT_COMMAND, kFreed, kInfo,
     "wkpCommandApi vantelHandle stamp, data: ", "wkpCommandApi vantelHandle, customdata: "},
    {Delivery::dmNativeApi, VANTEL_EVENT_NATIVE_API, kUsed, kInfo,
     "dmNativeApi vantelHandle stamp, data: ", "dmNativeApi vantelHandle, customdata: "},
    {Delivery::cttsConfig, VANTEL_EVENT_SPEAK, kFreed, kInfo,
     "ctts config vantelHandle stamp, data: ", "ctts config vantelHandle, customdata: "},
    {Delivery::ttsSpeakUrl, VANTEL_EVENT_SPEAK, kFreed, kInfo,
     "tts speakUrl vantelHandle stamp, data: ", "tts speakUrl vantelHandle end"},
    {Delivery::playerWait, VANTEL_EVENT_PLAYER, kUsed, kInfo,
     "player vantelHandle stamp, data: ", "player vantelHandle, customdata: "},
    {Delivery::playerBegin, VANTEL_EVENT_PLAYER, kFreed, kInfo,
     " player vantelHandle stamp, data: ", "player vantelHandle, customdata: "},
    {Delivery::playerCtrl, VANTEL_EVENT_PLAYER, kFreed, kInfo,
     "player ctrl vantelHandle stamp, data: ", "player ctrl vantelHandle end"},
    {Delivery::vocabs, VANTEL_EVENT_VOCABS, kFreed, kInfo,
     "vocabs vantelHandle stamp, data: ", "vocabs vantelHandle, customdata: "},
    {Delivery::cinfoV2, VANTEL_EVENT_CINFO, kFreed, kInfo,
     "cinfoV2 vantelHandle stamp, data: ", "cinfoV2 config vantelHandle, customdata: "},
    {Delivery::net, VANTEL_EVENT_NETWORK, kUsed, kDebug,
     "net handle, data: ", "net handle, customdata: "},
    {Delivery::mediaList, VANTEL_EVENT_MEDIA, kFreed, kInfo, "media list vantelHandle stamp,",
     "media list vantelHandle end"},
    {Delivery::oauth, VANTEL_EVENT_OAUTH, kFreed, kInfo, "oauth vantelHandle begin",
     "oauth vantelHandle end"},
    {Delivery::rtOutput, VANTEL_EVENT_RT_OUTPUT, kUsed, kInfo,
     "rtOutput vantelHandle stamp, data: ", "rtOutput vantelHandle, customdata: "},
    {Delivery::sentence, VANTEL_EVENT_SENTENCE, kFreed, kInfo,
     "sentence result vantelHandle stamp, data: ", "sentence result vantelHandle, customdata: "},
    {Delivery::evaluateKws, VANTEL_EVENT_EVALUATION, kFreed, kInfo,
     "evaluate kws vantelHandle stamp, data: ", "evaluate kws vantelHandle end"},
    {Delivery::face, VANTEL_EVENT_FACE, kFreed, kInfo,
     "faceResult vantelHandle stamp, data: ", "faceResult vantelHandle end"},
    {Delivery::vprRegister, VANTEL_EVENT_VPR_REGISTER, kFreed, kInfo,
     "vprResgister result vantelHandle stamp, data: ", "vprResgister result vantelHandle end"},
    {Delivery::vprUnregister, VANTEL_EVENT_VPR_UNREGISTER, kFreed, kInfo,
     "vprUnresgister result vantelHandle stamp, data: ", "vprUnresgister result vantelHandle end"},
    {Delivery::vprVerify, VANTEL_EVENT_VPR_VERIFY, kFreed, kInfo,
     "vprVerify result vantelHandle stamp, data: ", "vprVerify result vantelHandle end"},
    {Delivery::vprAsr, VANTEL_EVENT_VPR_ASR, kFreed, kInfo,
     "vprAsr result vantelHandle stamp, data: ", "vprAsr result vantelHandle end"},
    {Delivery::status, VANTEL_EVENT_STATUS, kFreed, kInfo,
     "processor dm status vantelHandle stamp, data: ",
     "processor dm status vantelHandle, customdata: "},
    {Delivery::oneshot, VANTEL_EVENT_ONESHOT_WAKEUP, kUsed, kInfo,
     "processor oneshot timeout vantelHandle stamp, data: ",
     "processor oneshot timeout vantelHandle, customdata: "},
    {Delivery::checkValidDm, VANTEL_EVENT_NO_OUTPUT, kFreed, kInfo,
     "processor check valid dm vantelHandle stamp, data: ",
     "processor check valid dm vantelHandle, customdata: "},
    {Delivery::deviceProtocol, VANTEL_EVENT_DEVICE_PROTOCOL, kFreed, kVerbose,
     "morvaneProtocol vantelHandle stamp, data: ", "morvaneProtocol, customdata: "},
    {Delivery::deviceDoa, VANTEL_EVENT_DEVICE_DOA, kFreed, kVerbose,
     "morvane doa vantelHandle stamp, data: ", "morvane doa customdata: "},
    {Delivery::deviceInfo, VANTEL_EVENT_DEVICE_INFO, kFreed, kInfo,
     "morvane lite info vantelHandle begin", "morvane info vantelHandle end",
     VANTEL_TYPE_DEVICE_INFO},
};

static_assert(isIndexedBy(&HostEvent::delivery, kHostEvents));

void logHostLine(int32_t level, const char *line, const char *text)
{
    const bool showsText = std::string_view(line).ends_with(": ");
    PROCESSOR_LOG(level, "  %s %s%s\n", kProcessorTag, line, showsText ? orNull(text) : "");
}

HeapText callHost(ProcessorRecord *record, Delivery delivery, const void *data, uint32_t length)
{
    if (!hasHost(record)) return nullptr;
    const HostEvent &event = kHostEvents[static_cast<size_t>(delivery)];
    logHostLine(event.stampLevel, event.stamp, static_cast<const char *>(data));
    HeapText answer = deliver(record->instance, data, length, event.type, event.event);
    logHostLine(kVerbose, event.after, answer.get());
    if (event.answer == Answer::freed) answer.reset();
    return answer;
}

template <Delivery delivery> void toHost(ProcessorRecord *record, const Message &message)
{
    deliverToHost(record, delivery, message);
}

// In the order of subscription. Some are for members outside this library: nothing is to be done
// here.
constexpr Route<ProcessorRecord, const Message &> kRoutes[] = {
    {topics::kError, onError},
    {"sys.doa.result", toHost<Delivery::doa>},
    {topics::kSnrResult, toHost<Delivery::snr>},
    {topics::kTtsBegin, nullptr},
    {topics::kAsrResult, onAsrResult},
    {topics::kSetting, onSetting},
    {topics::kWakeupResult, onWakeupResult},
    {topics::kPlayerWait, onPlayerWait},
    {"sys.vprRuntime.result", toHost<Delivery::vprRuntime>},
    {topics::kVadBegin, onVadBegin},
    {topics::kVadEnd, onVadEnd},
    {topics::kAsrCtrl, onAsrCtrl},
    {topics::kTtsEnd, nullptr},
    {topics::kDmsOutput, onDmsOutput},
    {topics::kCommandApi, toHost<Delivery::dmCommandApi>},
    {"sys.localDms.nativeApi", onNativeApi},
    {"sys.vad.timeout", onVadTimeout},
    {"sys.asr.end", onAsrEnd},
    {topics::kSpeak, onSpeak},
    {"sys.localPlayer.begin", onPlayerBegin},
    {topics::kDialogCtrl, onDialogCtrl},
    {"sys.localDms.vocabs", toHost<Delivery::vocabs>},
    {"sys.localDms.cttsConfig", toHost<Delivery::cttsConfig>},
    {"sys.localDms.cinfoV2Result", toHost<Delivery::cinfoV2>},
    {topics::kLocalAsrResult, onLocalAsrResult},
    {topics::kLocalDmResult, onLocalDmResult},
    {"sys.net.status", onNetStatus},
    {topics::kCustomDataBegin, onCustomDataBegin},
    {topics::kCustomDataEnd, onCustomDataEnd},
    {topics::kTtsCustomData, onCustomData},
    {topics::kInputText, onInput},
    {topics::kTriggerIntent, onInput},
    {"sys.localDms.media", toHost<Delivery::mediaList>},
    {topics::kExtendspCtrl, onExtendspCtrl},
    {"sys.localDms.authResult", onAuthResult},
    {topics::kAgentExit, onAgentExit},
    {"sys.sentence.result", toHost<Delivery::sentence>},
    {"sys.rt.output", onRtOutput},
    {"sys.localWakeup.evaluateResult", toHost<Delivery::evaluateKws>},
    {"sys.localFace.result", toHost<Delivery::face>},
    {topics::kFaceCtrl, nullptr},
    {topics::kSetContextSync, onSetContextSync},
    {topics::kTtsPcm, nullptr},
    {"sys.vprResgister.result", toHost<Delivery::vprRegister>},
    {"sys.vprUnresgister.result", toHost<Delivery::vprUnregister>},
    {"sys.vprVerify.result", toHost<Delivery::vprVerify>},
    {"sys.vprAsr.result", toHost<Delivery::vprAsr>},
    {"sys.localProcessor.pcm", onPcm},
    {topics::kRecorderCtrl, toHost<Delivery::recorderCtrl>},
    {topics::kPlayerCtrl, toHost<Delivery::playerCtrl>},
    {"sys.localDms.speakUrl", toHost<Delivery::ttsSpeakUrl>},
    // Of the companion device, whose member of the bus does not exist yet.
    {"sys.morvaneProtocol.result", toHost<Delivery::deviceProtocol>, Subscribed::no},
    {"sys.morvane.doa", toHost<Delivery::deviceDoa>, Subscribed::no},
    {"sys.morvane.QXInfo", toHost<Delivery::deviceInfo>, Subscribed::no},
};

int32_t onmessage(void *user, void *, const char *topic, const void *data, uint32_t length)
{
    const auto handle = handlerOf<kRoutes>(topic);
    if (!user || !handle) return 0;
    withoutThrowing(kProcessorLog, [&] {
        handle(static_cast<ProcessorRecord *>(user), {topic, data, length});
    });
    return 0;
}

} // namespace

constinit const NodeSpec kProcessorNode = {"localProcessor", kSubscriptions<kRoutes>, onmessage,
                                           processorOnCall};

HeapText deliverToHost(ProcessorRecord *record, Delivery delivery, const Message &message)
{
    return callHost(record, delivery, message.data, message.length);
}

HeapText deliverText(ProcessorRecord *record, Delivery delivery, const char *text)
{
    return callHost(record, delivery, text, textLength(text));
}

bool asksToIgnore(const char *answer)
{
    const Json parsed = jsonParse(answer);
    const char *ignore = jsonString(parsed.get(), "ignore");
    return ignore && std::string_view(ignore).starts_with("true");
}

} // namespace vantel::processor
