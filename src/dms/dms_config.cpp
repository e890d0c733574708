// The configuration text of the DMS node, read into its record.
#include "src/dms/dms_record.h"
#include "src/node/node_configuration.h"
#include "tools/quenda_tool.h"

#include <new>

namespace vantel::dms
{
namespace
{

std::optional<std::string> optionalText(const char *text)
{
    return text ? std::optional<std::string>{text} : std::nullopt;
}

void logDuplex(const cJSON *configuration)
{
    if (jsonIs(configuration, "fullDuplex", "true")) {
        DMS_LOG(kInfo, "  %s enable fullDuplex\n", kDmsTag);
    } else {
        DMS_LOG(kInfo, "  %s disable fullDuplex\n", kDmsTag);
    }
}

void setUpCapture(DmsRecord *record, const cJSON *configuration)
{
    const char *homePath = jsonString(configuration, "homePath");
    if (!homePath || *homePath == '\0') return;
    record->homePath = homePath;
    if (!jsonIs(jsonObject(configuration, "asr"), "cachePcm", "true")) return;
    record->cachePcm = true;
    createCaptureFolder(kAsrCaptures, record->homePath);
}

std::string asrEnvOf(const cJSON *configuration)
{
    const cJSON *env = jsonMember(jsonObject(configuration, "asr"), "env");
    return cJSON_IsObject(env) || cJSON_IsArray(env) ? buildAsrEnv(env) : kDefaultAsrEnv;
}

// Empty when the member is not an object.
HeapText printedObject(const cJSON *configuration, const char *key)
{
    const cJSON *object = jsonObject(configuration, key);
    HeapText text = object ? jsonPrint(object) : HeapText{};
    if (object && !text) throw std::bad_alloc{};
    return text;
}

void _dmsNew(DmsRecord *record, const char *grammarText, const char *recogniserText)
{
    ldmNew(record, grammarText, recogniserText);
    DMS_LOG(kInfo, "  %s  onNew success\n", kDmsTag);
}

} // namespace

void dmsConfigure(DmsRecord *record, const char *configuration)
{
    if (!configuration) return;
    Json parsed = takeConfiguration(record->instance, configuration, &record->configuration);
    if (!parsed) {
        logDuplex(nullptr);
        record->asrEnv = kDefaultAsrEnv;
        _dmsNew(record, nullptr, nullptr);
        return;
    }
    record->subsets = optionalText(jsonString(jsonObject(parsed.get(), "wakeup"), "subsets"));
    record->retryTimes = jsonInt(parsed.get(), "retryTimes", 0);
    logDuplex(parsed.get());
    logMicrophone(kDmsLog, parsed.get());
    if (const char *deviceId = jsonString(parsed.get(), "deviceId")) record->deviceId = deviceId;
    setUpCapture(record, parsed.get());
    record->earlyEnd = cJSON_IsTrue(jsonMember(jsonObject(parsed.get(), "asr"), "earlyEnd"));
    record->fullDuplex = jsonIs(parsed.get(), "fullDuplex", "true");
    record->asrEnv = asrEnvOf(parsed.get());
    DMS_LOG(kInfo, "  %s native asr env: %s\n", kDmsTag, record->asrEnv->c_str());
    HeapText grammarText = printedObject(parsed.get(), "gram");
    HeapText recogniserText = printedObject(parsed.get(), "asr");
    _dmsNew(record, grammarText.get(), recogniserText.get());
}

} // namespace vantel::dms
