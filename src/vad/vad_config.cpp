// The configuration text of the VAD node, read into its record; the detector is made here.
#include "src/node/durations.h"
#include "src/node/node_configuration.h"
#include "src/vad/vad_record.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

#include <algorithm>
#include <cstring>

namespace vantel::vad
{
namespace
{

constexpr int32_t kDefaultOneshotBytes = 38400;  // 1.2 s, a wakeup word of four characters
constexpr int64_t kOneshotCharacterBytes = 9600; // 0.3 s
constexpr size_t kUtf8CharacterBytes = 3;        // wakeup words are Chinese

// For a word too long for 32 bits the pre-roll is as long as they allow.
int32_t oneshotBytes(const char *wakeupWord)
{
    if (!wakeupWord) return kDefaultOneshotBytes;
    const int64_t characters = static_cast<int64_t>(std::strlen(wakeupWord) / kUtf8CharacterBytes);
    return static_cast<int32_t>(std::min<int64_t>(characters * kOneshotCharacterBytes, INT32_MAX));
}

void _vadNew(VadRecord *record, const char *vadText)
{
    if (vadText) record->detector.reset(ostrel_vad_new(vadText, vadHandler, record));
    if (record->detector) {
        VAD_LOG(kInfo, "  %s  onNew success\n", kVadTag);
    } else {
        VAD_LOG(kError, "  %s onNew failed\n", kVadTag);
        publishOrHoldError(record->node, &record->held, VANTEL_ERROR_VAD_CORE);
    }
}

void makeDetector(VadRecord *record, const cJSON *vad)
{
    if (!vad) {
        VAD_LOG(kError, "  %s coreVad not cfg\n", kVadTag);
        return;
    }
    HeapText text = jsonPrint(vad);
    _vadNew(record, text.get());
}

void setUpOneshot(VadRecord *record, const cJSON *configuration)
{
    const cJSON *wakeup = jsonObject(configuration, "wakeup");
    record->oneshot = oneshotNew(oneshotBytes(jsonString(wakeup, "word")));
    if (!record->oneshot) VAD_LOG(kError, "  %s no memory for the pre-roll\n", kVadTag);
    if (jsonIs(jsonObject(configuration, "oneshot"), "enable", "true")) {
        setFlag(record, kOneshotEnabled);
        VAD_LOG(kInfo, "  %s enable oneshot\n", kVadTag);
    }
}

void setUpCaptures(VadRecord *record, const cJSON *configuration)
{
    if (!jsonIs(jsonObject(configuration, "vad"), "cachePcm", "true")) return;
    setFlag(record, kCachePcm);
    const char *homePath = jsonString(configuration, "homePath");
    if (!homePath || *homePath == '\0') {
        VAD_LOG(kError, "  %s homePath not set\n", kVadTag);
        return;
    }
    record->homePath = homePath;
    createCaptureFolder(kVadCaptures, record->homePath);
}

} // namespace

void vadConfigure(VadRecord *record, const char *configuration)
{
    if (!configuration) return;
    Json parsed = takeConfiguration(record->instance, configuration, &record->configuration);
    if (!parsed) {
        VAD_LOG(kError, "  %s coreVad not cfg\n", kVadTag);
        record->oneshot = oneshotNew(kDefaultOneshotBytes);
        return;
    }
    const cJSON *vad = jsonObject(parsed.get(), "vad");
    record->timeoutMs =
        readPeriod(kVadLog, vad, "timeout", R"("vad"."timeout")", kDefaultTimeoutMs);
    logMicrophone(kVadLog, parsed.get());
    if (jsonInt(vad, "fullMode", 0) == 1) {
        setFlag(record, kFullMode);
        VAD_LOG(kInfo, "  %s enable fullMode\n", kVadTag);
    }
    record->pauseMs = readDuration(kVadLog, vad, "pauseTime", R"("vad"."pauseTime")",
                                   kDefaultPauseMs, kUsedAsItIs);
    makeDetector(record, vad);
    if (const char *deviceId = jsonString(parsed.get(), "deviceId")) record->deviceId = deviceId;
    setUpOneshot(record, parsed.get());
    setUpCaptures(record, parsed.get());
}

} // namespace vantel::vad
