// The measurement of a turn: speech against silence, reported as a ratio or as an error.
#include "src/vad/vad_record.h"

#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "third/snr/snr.h"
#include "tools/json.h"

#include <cstring>

namespace vantel::vad
{
namespace
{

void logLengths(const VadRecord *record)
{
    VAD_LOG(kInfo, "  %s volen: %d, sllen: %d\n", kVadTag, record->voice.length,
            record->silence.length);
}

void deliverAudio(VadRecord *record, const PcmBuffer &audio, const char *name, int32_t event)
{
    if (!hasHost(record)) return;
    VAD_LOG(kVerbose, "  %s snr.%s.pcm vantelHandle begin\n", kVadTag, name);
    HeapText answer = deliver(record->instance, audio.bytes.get(),
                              static_cast<uint32_t>(audio.length), VANTEL_TYPE_PCM, event);
    VAD_LOG(kVerbose, "  %s snr.%s.pcm vantelHandle end\n", kVadTag, name);
}

void publishResult(VadRecord *record, float ratio)
{
    Json result{cJSON_CreateObject()};
    if (!result) {
        VAD_LOG(kWarning, "  %s cJSON create error\n", kVadTag);
        return;
    }
    cJSON_AddNumberToObject(result.get(), "silenceLen", record->silence.length);
    cJSON_AddNumberToObject(result.get(), "voiceLen", record->voice.length);
    cJSON_AddNumberToObject(result.get(), "snr", static_cast<double>(ratio));
    HeapText text = jsonPrint(result.get());
    if (text) publishText(record->node, topics::kSnrResult, text.get());
}

void measure(VadRecord *record)
{
    const PcmBuffer &silence = record->silence;
    const PcmBuffer &voice = record->voice;
    _createCacheVadFileName(record, kNamesOfMeasurement);
    _writeCacheVadFileName(record, silence.bytes.get(), silence.length, VadCapture::snrSilence);
    _writeCacheVadFileName(record, voice.bytes.get(), voice.length, VadCapture::snrVoice);
    logLengths(record);
    float ratio = 0.0F;
    if (snr(voice.bytes.get(), voice.length / kSampleBytes, silence.bytes.get(),
            silence.length / kSampleBytes, &ratio) != 0) {
        VAD_LOG(kError, "  %s snr core error", kVadTag);
        publishError(record->node, VANTEL_ERROR_SNR_CORE);
    } else if (record->snrThreshold > ratio) {
        VAD_LOG(kError, "  %s snr drop, snr conf: %f\n", kVadTag, static_cast<double>(ratio));
        publishError(record->node, VANTEL_ERROR_SNR_CONFIDENCE);
    } else {
        deliverAudio(record, silence, "silence", VANTEL_EVENT_SNR_SILENCE);
        deliverAudio(record, voice, "voice", VANTEL_EVENT_SNR_VOICE);
        publishResult(record, ratio);
    }
}

// Why there is nothing to measure.
void refuse(VadRecord *record)
{
    const bool hasVoice = record->voice.length > 0;
    const bool hasSilence = record->silence.length > 0;
    const bool isInSpeech = hasFlag(record, kInSpeech);
    if (!hasSilence && (hasVoice || isInSpeech)) {
        VAD_LOG(kError, "  %s snr error, due to not silence\n", kVadTag);
        publishError(record->node, VANTEL_ERROR_SNR_NO_SILENCE);
    } else if (isInSpeech) {
        VAD_LOG(kError, "  %s snr error, ignore\n", kVadTag);
    } else {
        VAD_LOG(kError, "  %s snr error, due to not voice\n", kVadTag);
        publishError(record->node, VANTEL_ERROR_SNR_NO_VOICE);
    }
    clearFlag(record, kInSpeech);
}

void endMeasurement(VadRecord *record)
{
    logLengths(record);
    // Of a speech that has not ended, what came so far is the voice.
    if (record->silence.length > 0 && record->voice.length == 0) _cutSnrVoice(record);
    if (record->silence.length > 0 && record->voice.length > 0) {
        measure(record);
    } else {
        refuse(record);
    }
    clearFlag(record, kSnrActive);
    retsetSpeech(record);
    retsetSlience(record);
    retsetVoice(record);
}

} // namespace

void vadSnrCalculation(VadRecord *record, const char *payload)
{
    Json message = jsonParse(payload);
    const char *status = jsonString(message.get(), "status");
    if (!status) {
        VAD_LOG(kError, "  %s not snr calculation status, %s\n", kVadTag, orNull(payload));
        return;
    }
    if (std::strcmp(status, "begin") == 0) {
        setFlag(record, kSnrActive);
    } else if (hasFlag(record, kSnrActive)) {
        endMeasurement(record);
    }
}

} // namespace vantel::vad
