// What says of a frame of audio how probably it is speech. There are two kinds: a neural model over
// the inference runtime, which is far better in noise, and one of fixed statistics that needs no
// file and a thirtieth of the time.
#pragma once

#include "ostrel/vad/vad_segment.h"

#include <cstdint>
#include <memory>

namespace vantel::ostrel
{

struct VadDetector {
    virtual ~VadDetector() = default;
    // Takes `frameSamples` samples. False, with a line in the log, when the detector fails.
    virtual bool take(const int16_t *samples, double *probability) = 0;
    // Forgets what it has heard.
    virtual void reset() = 0;

    int frameSamples = 0;
    SegmentSettings defaults{}; // that suit the detector
};

struct DetectorOptions {
    int webrtcMode = 3; // 0 to 3, the most demanding
};

// Null when there is no runtime or no model.
std::unique_ptr<VadDetector> sileroDetector();

// Null when it was left out of this build. `mode` is 0 to 3, the most demanding.
std::unique_ptr<VadDetector> webrtcDetector(int mode);

struct DetectorKind {
    const char *name; // "engine" of the configuration
    std::unique_ptr<VadDetector> (*make)(const DetectorOptions &options);
};

// The best first: that is taken where none is named.
constexpr DetectorKind kDetectors[] = {
    {"silero", [](const DetectorOptions &) { return sileroDetector(); }},
    {"webrtc", [](const DetectorOptions &options) { return webrtcDetector(options.webrtcMode); }},
};

// Loads what the detectors of the process share: 0, or a LibraryError when a file is there but
// broken. What is missing is logged and no error.
int32_t vadModelsLoad();
void vadModelsRelease();

} // namespace vantel::ostrel
