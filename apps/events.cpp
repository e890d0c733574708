#include "apps/events.h"

#include <vantel/vantel.h>

namespace vantel::app
{
namespace
{

struct EventName {
    int32_t event;
    const char *name;
};

constexpr EventName kNames[] = {
    {VANTEL_EVENT_WAKEUP, "wakeup"},
    {VANTEL_EVENT_VAD, "vad"},
    {VANTEL_EVENT_ASR, "asr"},
    {VANTEL_EVENT_DM_OUTPUT, "dm_output"},
    {VANTEL_EVENT_ERROR, "error"},
    {VANTEL_EVENT_SNR, "snr"},
    {VANTEL_EVENT_DOA, "doa"},
    {VANTEL_EVENT_VPR_RUNTIME, "vpr_runtime"},
    {VANTEL_EVENT_RECORDER, "recorder"},
    {VANTEL_EVENT_STATUS, "status"},
    {VANTEL_EVENT_COMMAND, "command"},
    {VANTEL_EVENT_NATIVE_API, "native_api"},
    {VANTEL_EVENT_SPEAK, "speak"},
    {VANTEL_EVENT_PLAYER, "player"},
    {VANTEL_EVENT_VOCABS, "vocabs"},
    {VANTEL_EVENT_CINFO, "cinfo"},
    {VANTEL_EVENT_NETWORK, "network"},
    {VANTEL_EVENT_MEDIA, "media"},
    {VANTEL_EVENT_OAUTH, "oauth"},
    {VANTEL_EVENT_RT_OUTPUT, "rt_output"},
    {VANTEL_EVENT_SENTENCE, "sentence"},
    {VANTEL_EVENT_EVALUATION, "evaluation"},
    {VANTEL_EVENT_FACE, "face"},
    {VANTEL_EVENT_ONESHOT_WAKEUP, "oneshot_wakeup"},
    {VANTEL_EVENT_VPR_REGISTER, "vpr_register"},
    {VANTEL_EVENT_VPR_UNREGISTER, "vpr_unregister"},
    {VANTEL_EVENT_VPR_VERIFY, "vpr_verify"},
    {VANTEL_EVENT_VPR_ASR, "vpr_asr"},
    {VANTEL_EVENT_SNR_SILENCE, "snr_silence"},
    {VANTEL_EVENT_SNR_VOICE, "snr_voice"},
    {VANTEL_EVENT_NO_OUTPUT, "no_output"},
};

void addNumber(cJSON *object, const char *key, int64_t number)
{
    cJSON_AddNumberToObject(object, key, static_cast<double>(number));
}

Json dataOf(const HostEvent &event)
{
    Json data;
    if (event.type != VANTEL_TYPE_JSON) {
        data.reset(cJSON_CreateObject());
        addNumber(data.get(), "bytes", static_cast<int64_t>(event.data.size()));
        return data;
    }
    data = jsonParse(event.data.c_str());
    if (!data) data.reset(cJSON_CreateString(event.data.c_str()));
    return data;
}

std::string printedLine(const cJSON *tree)
{
    HeapText text = jsonPrint(tree);
    return text ? std::string{text.get()} + "\n" : "";
}

} // namespace

const char *eventName(int32_t event)
{
    for (const EventName &known : kNames)
        if (known.event == event) return known.name;
    return "unknown";
}

std::string jsonLine(const HostEvent &event)
{
    Json line{cJSON_CreateObject()};
    addNumber(line.get(), "ms", event.moment.ms);
    addNumber(line.get(), "event", event.event);
    cJSON_AddStringToObject(line.get(), "name", eventName(event.event));
    cJSON_AddStringToObject(line.get(), "file", event.moment.file.c_str());
    addNumber(line.get(), "position", event.moment.positionMs);
    addNumber(line.get(), "type", event.type);
    cJSON_AddItemToObject(line.get(), "data", dataOf(event).release());
    if (event.words.empty()) return printedLine(line.get());
    cJSON *words = cJSON_AddArrayToObject(line.get(), "words");
    for (const WordTime &word : event.words) {
        Json entry{cJSON_CreateObject()};
        cJSON_AddStringToObject(entry.get(), "text", word.text.c_str());
        addNumber(entry.get(), "begin", word.beginMs);
        addNumber(entry.get(), "end", word.endMs);
        cJSON_AddItemToArray(words, entry.release());
    }
    return printedLine(line.get());
}

std::string verdictLine(const Moment &moment, Json data)
{
    Json line{cJSON_CreateObject()};
    addNumber(line.get(), "ms", moment.ms);
    cJSON_AddStringToObject(line.get(), "name", "verdict");
    cJSON_AddStringToObject(line.get(), "file", moment.file.c_str());
    addNumber(line.get(), "position", moment.positionMs);
    cJSON_AddItemToObject(line.get(), "data", data.release());
    return printedLine(line.get());
}

} // namespace vantel::app
