// Whose captures the VAD node's are.
#pragma once

#include "src/vad/pcm_capture.h"

namespace vantel
{

constexpr CaptureOwner kVadCaptures = {"src/vad/vad", "ZQ-localVad", "vad"};

} // namespace vantel
