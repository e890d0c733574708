// The capture files of the DMS node.
#pragma once

#include "src/dms/dms_record.h"
#include "src/vad/pcm_capture.h"

namespace vantel
{

constexpr CaptureOwner kAsrCaptures = {"src/dms/dms", kDmsTag, "asr"};

} // namespace vantel
