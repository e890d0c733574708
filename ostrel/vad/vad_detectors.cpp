// The detectors that there are, the best first.
#include "ostrel/vad/vad_detectors.h"

#include <cstring>

namespace vantel::ostrel
{
namespace
{

struct DetectorKind {
    const char *name;
    std::unique_ptr<VadDetector> (*make)(const DetectorOptions &options);
};

constexpr DetectorKind kDetectors[] = {
    {"silero", [](const DetectorOptions &) { return sileroDetector(); }},
    {"webrtc", [](const DetectorOptions &options) { return webrtcDetector(options.webrtcMode); }},
};

} // namespace

std::unique_ptr<VadDetector> detectorOpen(const char *name, const DetectorOptions &options)
{
    for (const DetectorKind &kind : kDetectors) {
        if (name && std::strcmp(name, kind.name) != 0) continue;
        if (auto detector = kind.make(options)) return detector;
    }
    return nullptr;
}

} // namespace vantel::ostrel
