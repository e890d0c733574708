// How the tool shows events: a timeline to read, or a JSON object a line.
#pragma once

#include "apps/engine_log.h"
#include "apps/events.h"
#include "apps/output.h"
#include "apps/verdict.h"

#include <chrono>
#include <optional>
#include <string>

namespace vantel::app
{

// Calls come one at a time.
class Timeline
{
public:
    Timeline(Output *output, bool isJson);
    void beginRecording(const std::string &file);
    // `heard` is the recogniser's result that the event came from, when there is one.
    void show(const HostEvent &event, const std::optional<HeardResult> &heard);
    void endRecording(const Moment &moment, const Verdict &verdict);
    // A line that the next one replaces, on a terminal only: how much of the input has been heard.
    void progress(double seconds, double ofSeconds);
    void clearProgress();

private:
    void line(int64_t ms, const std::string &label, const std::string &text);
    void showRecognition(const HostEvent &event, const cJSON *result);

    Output *output_;
    bool isJson_;
    bool showsProgress_;
    bool isProgressShown_ = false;
    std::chrono::steady_clock::time_point nextProgress_{};
    std::string partial_; // what has been understood of the utterance so far
};

} // namespace vantel::app
