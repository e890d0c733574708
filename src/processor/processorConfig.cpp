// The configuration text of the processor, read into its record.
#include "src/node/durations.h"
#include "src/node/node_configuration.h"
#include "src/processor/processorRecord.h"
#include "tools/json.h"
#include "tools/quenda_tool.h"

namespace vantel::processor
{
namespace
{

// Switches count only as the string "true", others only as the number 1 (or a boolean true).
bool isStringTrue(const cJSON *object, const char *key)
{
    return jsonIs(object, key, "true");
}

bool isOne(const cJSON *object, const char *key)
{
    return jsonInt(object, key, 0) == 1;
}

// An absent member leaves the default.
void readDurationOf(const cJSON *object, const char *key, const char *name, int32_t *duration)
{
    *duration = readDuration(kProcessorLog, object, key, name, *duration);
}

void readVad(ProcessorRecord *record, const cJSON *vad)
{
    if (isOne(vad, "fullMode")) {
        setFlag(record, kVadFullMode, true);
        PROCESSOR_LOG(kInfo, "  %s enable vad fullMode\n", kProcessorTag);
    }
    readDurationOf(vad, "timeout", R"("vad"."timeout")", &record->vadTimeout);
}

void readOneshot(ProcessorRecord *record, const cJSON *oneshot)
{
    if (isStringTrue(oneshot, "enable")) {
        setFlag(record, kOneshotEnabled, true);
        PROCESSOR_LOG(kInfo, "  %s enable oneshot\n", kProcessorTag);
    }
    readDurationOf(oneshot, "timeout", R"("oneshot"."timeout")", &record->oneshotTimeout);
    if (jsonIs(oneshot, "greetMode", "immediate")) {
        record->greetImmediate = 1;
        PROCESSOR_LOG(kInfo, "  %s greetMode: %s\n", kProcessorTag,
                      jsonString(oneshot, "greetMode"));
    }
}

void readStreamData(ProcessorRecord *record, const cJSON *configuration)
{
    if (isOne(configuration, "enableStreamData")) {
        setFlag(record, kStreamData, true);
        PROCESSOR_LOG(kInfo, "  %s enable streamData\n", kProcessorTag);
    } else {
        PROCESSOR_LOG(kInfo, "  %s disable streamData\n", kProcessorTag);
    }
}

void readFullDuplex(ProcessorRecord *record, const cJSON *configuration)
{
    if (!isStringTrue(configuration, "fullDuplex")) {
        PROCESSOR_LOG(kInfo, "  %s disable fullDuplex\n", kProcessorTag);
        return;
    }
    setFlag(record, kFullDuplex, true);
    PROCESSOR_LOG(kInfo, "  %s enable fullDuplex\n", kProcessorTag);
    const cJSON *vad = jsonObject(configuration, "vad");
    if (!jsonMember(vad, "fullMode")) return;
    if (isOne(vad, "fullMode")) {
        PROCESSOR_LOG(kInfo, "  %s enable vad fullMode\n", kProcessorTag);
    } else {
        PROCESSOR_LOG(kError, "  %s enable fullDuplex, must use vad fullMode\n", kProcessorTag);
    }
}

} // namespace

// A text that is not JSON is read like an empty object.
void readConfiguration(ProcessorRecord *record, const char *configuration)
{
    if (!configuration) return;
    const Json parsed = takeConfiguration(record->instance, configuration, &record->config);
    const cJSON *root = parsed.get();

    const char *asrRes = jsonString(root, "asrRes");
    setFlag(record, kAsrResConfigured, asrRes && *asrRes != '\0');
    setFlag(record, kAsrDisableVad, isStringTrue(jsonObject(root, "asr"), "disableVAD"));
    readVad(record, jsonObject(root, "vad"));
    readOneshot(record, jsonObject(root, "oneshot"));
    readStreamData(record, root);
    setFlag(record, kVprDisableVad, isStringTrue(jsonObject(root, "vprRuntime"), "disableVAD"));
    readFullDuplex(record, root);
    setFlag(record, kCnttsPrivilege, isStringTrue(jsonObject(root, "cntts"), "privilege"));
    readDurationOf(root, "dmTimeOut", R"("dmTimeOut")", &record->dmTimeOut);
    PROCESSOR_LOG(kInfo, "  %s dm timeout is: %d\n", kProcessorTag, record->dmTimeOut);
    readDurationOf(root, "keepAliveTimeout", R"("keepAliveTimeout")", &record->keepAliveTimeout);
    PROCESSOR_LOG(kInfo, "  %s keepAlive timeout is: %d\n", kProcessorTag,
                  record->keepAliveTimeout);
}

} // namespace vantel::processor
