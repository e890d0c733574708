#include "ostrel/vad/vad_detectors.h"

// The library exports its detector's core, but no header of it declares that.
extern "C" {
struct WebRtcVadInst;
WebRtcVadInst *WebRtcVad_Create(void);
int WebRtcVad_Init(WebRtcVadInst *handle);
int WebRtcVad_set_mode(WebRtcVadInst *handle, int mode);
int WebRtcVad_Process(WebRtcVadInst *handle, int rate, const int16_t *samples, size_t count);
void WebRtcVad_Free(WebRtcVadInst *handle);
}

namespace vantel::ostrel
{
namespace
{

constexpr int kFrameSamples = 320;

// It decides frame by frame, and wrongly on most sudden noises: only a long run of speech counts.
constexpr SegmentSettings kDefaults = {.onThreshold = 0.5,
                                       .offThreshold = 0.5,
                                       .onsetFrames = 6,
                                       .onsetWindow = 8,
                                       .beginMarginMs = 40,
                                       .maxSpeechMs = 60000};

class WebrtcDetector final : public VadDetector
{
public:
    explicit WebrtcDetector(int mode) : mode_(mode)
    {
        frameSamples = kFrameSamples;
        defaults = kDefaults;
        reset();
    }

    bool take(const int16_t *samples, double *probability) override
    {
        int voiced = WebRtcVad_Process(core_.get(), 16000, samples, kFrameSamples);
        *probability = voiced > 0 ? 1 : 0;
        return voiced >= 0;
    }

    void reset() override
    {
        WebRtcVad_Init(core_.get());
        WebRtcVad_set_mode(core_.get(), mode_);
    }

private:
    struct Free {
        void operator()(WebRtcVadInst *handle) const { WebRtcVad_Free(handle); }
    };

    int mode_;
    std::unique_ptr<WebRtcVadInst, Free> core_{WebRtcVad_Create()};
};

} // namespace

std::unique_ptr<VadDetector> webrtcDetector(int mode)
{
    return std::make_unique<WebrtcDetector>(mode);
}

} // namespace vantel::ostrel
