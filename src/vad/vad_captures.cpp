// The capture files of the VAD node.
#include "src/vad/vad_record.h"

#include <iterator>

namespace vantel::vad
{
namespace
{

struct CaptureForm {
    const char *suffix;
    const char *logged; // null: the name is not logged
};

// In the order of VadCapture.
constexpr CaptureForm kForms[] = {
    {"_vad", "vad"},
    {"_onshot", "onshot"},
    {"_feedVad", nullptr},
    {"_snrSilence", "snr silence"},
    {"_snrVoice", "snr voice"},
};
static_assert(std::size(kForms) == static_cast<size_t>(VadCapture::count));

bool capturesAreOn(const VadRecord *record)
{
    return hasFlag(record, kCachePcm) && !record->homePath.empty();
}

void nameCapture(VadRecord *record, const CaptureStamp &stamp, VadCapture capture)
{
    const size_t index = static_cast<size_t>(capture);
    const CaptureForm &form = kForms[index];
    std::string &name = record->captures[index];
    name = captureName(kVadCaptures, record->homePath, stamp, form.suffix);
    if (!form.logged) return;
    VAD_LOG(kInfo, "  %s %s pcm path: %s\n", kVadTag, form.logged, name.c_str());
}

} // namespace

void _createCacheVadFileName(VadRecord *record, int32_t kind)
{
    if (!capturesAreOn(record) || kind == 2) return;
    const CaptureStamp stamp = captureStamp(record->deviceId.c_str());
    if (kind == kNamesOfStart) {
        nameCapture(record, stamp, VadCapture::vad);
        nameCapture(record, stamp, VadCapture::feedVad);
        if (hasFlag(record, kOneshotEnabled)) nameCapture(record, stamp, VadCapture::onshot);
    } else {
        nameCapture(record, stamp, VadCapture::snrSilence);
        nameCapture(record, stamp, VadCapture::snrVoice);
    }
}

void _writeCacheVadFileName(VadRecord *record, const void *bytes, int32_t count, VadCapture capture)
{
    const std::string &name = record->captures[static_cast<size_t>(capture)];
    if (!capturesAreOn(record) || name.empty()) return;
    appendCapture(kVadCaptures, name, bytes, static_cast<uint32_t>(count));
}

} // namespace vantel::vad
