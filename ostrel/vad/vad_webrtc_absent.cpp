// Stands in on systems that have no package of the library.
#include "ostrel/vad/vad_detectors.h"

namespace vantel::ostrel
{

std::unique_ptr<VadDetector> webrtcDetector(int)
{
    return nullptr;
}

} // namespace vantel::ostrel
