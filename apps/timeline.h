// How the tool shows events: a timeline to read, or a JSON object a line.
#pragma once

#include "apps/session.h"

#include <string>

namespace vantel::app
{

// Shows events on standard output. Calls come one at a time.
class Timeline
{
public:
    explicit Timeline(bool isJson);
    void show(const HostEvent &event);
    // A line that the next one replaces, on a terminal only: how much of the input has been heard.
    void progress(double seconds, double ofSeconds);
    void clearProgress();

private:
    void line(int64_t ms, const std::string &label, const std::string &text);

    bool isJson_;
    bool showsProgress_;
    bool isProgressShown_ = false;
    std::string partial_; // what has been understood of the utterance so far
};

} // namespace vantel::app
