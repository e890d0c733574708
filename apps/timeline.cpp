#include "apps/timeline.h"

#include <vantel/vantel.h>

#include <algorithm>
#include <cstdio>

namespace vantel::app
{
namespace
{

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

// "go forward ten meters"  confidence 0.93
std::string rated(const std::string &text, double confidence)
{
    char number[32];
    std::snprintf(number, sizeof number, "  confidence %.2f", confidence);
    return quoted(text) + number;
}

// go 0.21-0.43, forward 0.43-0.90
std::string timesText(const std::vector<WordTime> &words)
{
    std::string text;
    for (const WordTime &word : words) {
        char times[64];
        std::snprintf(times, sizeof times, " %.2f-%.2f", static_cast<double>(word.beginMs) / 1000,
                      static_cast<double>(word.endMs) / 1000);
        text += (text.empty() ? "" : ", ") + word.text + times;
    }
    return text;
}

// As much of the end as keeps the line on a terminal of 80 columns: one that wraps could not be
// replaced.
std::string endOf(const std::string &text)
{
    constexpr size_t kMostBytes = 32;
    if (text.size() <= kMostBytes) return text;
    size_t begin = text.size() - kMostBytes;
    while (begin < text.size() && (static_cast<unsigned char>(text[begin]) & 0xC0) == 0x80)
        ++begin;
    return "..." + text.substr(begin);
}

std::string errorText(const cJSON *report)
{
    return std::to_string(jsonInt(report, "errId", 0)) + " " + textOf(jsonString(report, "errMsg"));
}

} // namespace

Timeline::Timeline(Output *output, bool isJson)
    : output_(output), isJson_(isJson), showsProgress_(!isJson && output->isTerminal())
{
}

void Timeline::beginRecording(const std::string &file)
{
    if (!isJson_) output_->write(file + "\n");
}

void Timeline::endRecording(const Moment &moment, const Verdict &verdict)
{
    output_->write(isJson_ ? verdictLine(moment, verdict.json())
                           : moment.file + ": " + verdict.text() + "\n");
}

void Timeline::showRecognition(const HostEvent &event, const cJSON *result)
{
    const int64_t ms = event.moment.ms;
    const std::string text = textOf(jsonString(result, "text"));
    const cJSON *confidence = jsonMember(result, "conf");
    std::string shown = confidence ? rated(text, confidence->valuedouble) : quoted(text);
    if (const char *pinyin = jsonString(result, "pinyin")) shown += std::string("  ") + pinyin;
    line(ms, "recognised", shown);
    if (!event.words.empty()) line(ms, "words", timesText(event.words));
    if (const cJSON *sem = jsonMember(jsonMember(result, "post"), "sem"))
        line(ms, "meaning", printed(sem));
}

void Timeline::show(const HostEvent &event, const std::optional<HeardResult> &heard)
{
    if (isJson_) {
        output_->write(jsonLine(event));
        return;
    }
    if (event.type != VANTEL_TYPE_JSON) return;
    Json data = jsonParse(event.data.c_str());
    const cJSON *dm = jsonMember(data.get(), "dm");
    const int64_t ms = event.moment.ms;
    switch (event.event) {
    case VANTEL_EVENT_VAD:
        line(ms, "speech", jsonInt(data.get(), "status", 0) == 1 ? "begins" : "ends");
        break;
    case VANTEL_EVENT_ASR:
        partial_ = textOf(jsonString(data.get(), "var"));
        if (jsonInt(data.get(), "eof", 0) == 1) showRecognition(event, data.get());
        break;
    case VANTEL_EVENT_DM_OUTPUT:
        if (const char *nlg = jsonString(dm, "nlg")) line(ms, "says", quoted(nlg));
        line(ms, "dialog",
             cJSON_IsFalse(jsonMember(dm, "shouldEndSession")) ? "continues" : "ends");
        break;
    case VANTEL_EVENT_ERROR:
        if (heard && !heard->text.empty()) line(ms, "heard", rated(heard->text, heard->confidence));
        line(ms, "error", errorText(data.get()));
        break;
    case VANTEL_EVENT_SNR: {
        const cJSON *ratio = jsonMember(data.get(), "snr");
        char decibels[32];
        std::snprintf(decibels, sizeof decibels, "%.1f dB", ratio ? ratio->valuedouble : 0.0);
        line(ms, "signal", std::string(decibels) + " above the background");
        break;
    }
    case VANTEL_EVENT_RECORDER:
        line(ms, "recorder", textOf(jsonString(data.get(), "operation")));
        break;
    case VANTEL_EVENT_STATUS:
        line(ms, "status", textOf(jsonString(data.get(), "status")));
        break;
    case VANTEL_EVENT_COMMAND:
        line(ms, "command", event.data);
        break;
    default:
        line(ms, "event " + std::to_string(event.event), event.data);
        break;
    }
}

void Timeline::line(int64_t ms, const std::string &label, const std::string &text)
{
    clearProgress();
    char head[64];
    std::snprintf(head, sizeof head, "%8.2f s  %-10s  ", static_cast<double>(ms) / 1000.0,
                  label.c_str());
    output_->write(head + text + "\n");
}

void Timeline::progress(double seconds, double ofSeconds)
{
    constexpr std::chrono::milliseconds kPace{100};
    const auto now = std::chrono::steady_clock::now();
    if (!showsProgress_ || now < nextProgress_) return;
    nextProgress_ = now + kPace;
    constexpr int kWidth = 24;
    char text[128];
    if (ofSeconds > 0) {
        int done = static_cast<int>(kWidth * seconds / ofSeconds);
        std::string bar = std::string(static_cast<size_t>(std::clamp(done, 0, kWidth)), '#');
        std::snprintf(text, sizeof text, "  [%-*s] %.1f of %.1f s  ", kWidth, bar.c_str(), seconds,
                      ofSeconds);
    } else {
        std::snprintf(text, sizeof text, "  %.1f s  ", seconds);
    }
    output_->write(std::string{"\r\x1b[K"} + text + endOf(partial_));
    isProgressShown_ = true;
}

void Timeline::clearProgress()
{
    if (isProgressShown_) output_->write("\r\x1b[K");
    isProgressShown_ = false;
}

} // namespace vantel::app
