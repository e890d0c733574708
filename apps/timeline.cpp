#include "apps/timeline.h"

#include "platform/platform.h"
#include "tools/json.h"

#include <algorithm>
#include <cstdio>

namespace vantel::app
{
namespace
{

constexpr int32_t kTypeJson = 101;

std::string textOf(const char *text)
{
    return text ? text : "";
}

std::string printed(const cJSON *tree)
{
    HeapText text = jsonPrint(tree);
    return text ? text.get() : "";
}

std::string quoted(const std::string &text)
{
    return "\"" + text + "\"";
}

// {"ms","event","type","data"}; audio and other data that is no text as its number of bytes.
std::string jsonLine(const HostEvent &event)
{
    Json object{cJSON_CreateObject()};
    cJSON_AddNumberToObject(object.get(), "ms", static_cast<double>(event.ms));
    cJSON_AddNumberToObject(object.get(), "event", event.event);
    cJSON_AddNumberToObject(object.get(), "type", event.type);
    cJSON *data = nullptr;
    if (event.type != kTypeJson) {
        data = cJSON_CreateObject();
        cJSON_AddNumberToObject(data, "bytes", static_cast<double>(event.data.size()));
    } else {
        data = cJSON_Parse(event.data.c_str());
        if (!data) data = cJSON_CreateString(event.data.c_str());
    }
    cJSON_AddItemToObject(object.get(), "data", data);
    return printed(object.get());
}

// "go forward ten meters"  confidence 0.93
std::string recognitionText(const cJSON *result)
{
    std::string shown = quoted(textOf(jsonString(result, "text")));
    if (const cJSON *confidence = jsonMember(result, "conf")) {
        char number[32];
        std::snprintf(number, sizeof number, "  confidence %.2f", confidence->valuedouble);
        shown += number;
    }
    if (const char *pinyin = jsonString(result, "pinyin")) shown += std::string("  ") + pinyin;
    return shown;
}

std::string errorText(const cJSON *report)
{
    return std::to_string(jsonInt(report, "errId", 0)) + " " + textOf(jsonString(report, "errMsg"));
}

} // namespace

Timeline::Timeline(bool isJson)
    : isJson_(isJson), showsProgress_(!isJson && platformIsTerminal(stdout))
{
}

void Timeline::show(const HostEvent &event)
{
    if (isJson_) {
        std::printf("%s\n", jsonLine(event).c_str());
        std::fflush(stdout);
        return;
    }
    if (event.type != kTypeJson) return;
    Json data = jsonParse(event.data.c_str());
    const cJSON *dm = jsonMember(data.get(), "dm");
    switch (event.event) {
    case 1003:
        line(event.ms, "speech", jsonInt(data.get(), "status", 0) == 1 ? "begins" : "ends");
        break;
    case 1004:
        partial_ = textOf(jsonString(data.get(), "var"));
        if (jsonInt(data.get(), "eof", 0) != 1) break;
        line(event.ms, "recognised", recognitionText(data.get()));
        if (const cJSON *sem = jsonMember(jsonMember(data.get(), "post"), "sem"))
            line(event.ms, "meaning", printed(sem));
        break;
    case 1005:
        if (const char *nlg = jsonString(dm, "nlg")) line(event.ms, "says", quoted(nlg));
        line(event.ms, "dialog",
             cJSON_IsFalse(jsonMember(dm, "shouldEndSession")) ? "continues" : "ends");
        break;
    case 1006:
        line(event.ms, "error", errorText(data.get()));
        break;
    case 1007: {
        const cJSON *ratio = jsonMember(data.get(), "snr");
        char decibels[32];
        std::snprintf(decibels, sizeof decibels, "%.1f dB", ratio ? ratio->valuedouble : 0.0);
        line(event.ms, "signal", std::string(decibels) + " above the background");
        break;
    }
    case 1011:
        line(event.ms, "recorder", textOf(jsonString(data.get(), "operation")));
        break;
    case 1012:
        line(event.ms, "status", textOf(jsonString(data.get(), "status")));
        break;
    case 1013:
        line(event.ms, "command", event.data);
        break;
    default:
        line(event.ms, "event " + std::to_string(event.event), event.data);
        break;
    }
}

void Timeline::line(int64_t ms, const std::string &label, const std::string &text)
{
    clearProgress();
    std::printf("%8.2f s  %-10s  %s\n", static_cast<double>(ms) / 1000.0, label.c_str(),
                text.c_str());
    std::fflush(stdout);
}

void Timeline::progress(double seconds, double ofSeconds)
{
    if (!showsProgress_) return;
    constexpr int kWidth = 24;
    if (ofSeconds > 0) {
        int done = static_cast<int>(kWidth * seconds / ofSeconds);
        std::string bar = std::string(static_cast<size_t>(std::clamp(done, 0, kWidth)), '#');
        std::printf("\r\x1b[K  [%-*s] %.1f of %.1f s  %s", kWidth, bar.c_str(), seconds, ofSeconds,
                    partial_.c_str());
    } else {
        std::printf("\r\x1b[K  %.1f s  %s", seconds, partial_.c_str());
    }
    std::fflush(stdout);
    isProgressShown_ = true;
}

void Timeline::clearProgress()
{
    if (isProgressShown_) std::printf("\r\x1b[K");
    isProgressShown_ = false;
}

} // namespace vantel::app
