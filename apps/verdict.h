// What became of one recording.
#pragma once

#include "apps/engine_log.h"
#include "apps/events.h"

#include <optional>

namespace vantel::app
{

// Fed with the events of a recording in their order; calls come one at a time.
class Verdict
{
public:
    // `heard` is the recogniser's result that the event came from, when there is one.
    void take(const HostEvent &event, const std::optional<HeardResult> &heard);

    bool isRecognised() const { return kind_ == Kind::recognised; }
    // 'recognised: "go forward ten meters"', 'rejected: confidence 0.31', 'no speech'.
    std::string text() const;
    Json json() const;

private:
    // The later outweighs the earlier.
    enum class Kind { noSpeech, noResult, error, noWords, rejected, noCommand, recognised };

    // False when something outweighs it.
    bool become(Kind kind, const std::string &text);

    Kind kind_ = Kind::noSpeech;
    std::vector<std::string> texts_; // of this kind
    std::optional<double> confidence_;
    std::string error_;
};

} // namespace vantel::app
