#include "ostrel/library.h"
#include "ostrel/runtime/onnx.h"
#include "ostrel/vad/vad_detectors.h"
#include "tools/thread_safety.h"

#include <algorithm>
#include <array>

#define SILERO_LOG(level, ...) ENGINE_LOG("ostrel/vad_silero", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr char kModelName[] = "silero_vad_v5.onnx";
constexpr size_t kFrameSamples = 512;
// The model hears the end of the frame before as well; without it its figures are worthless.
constexpr size_t kContextSamples = 64;
constexpr size_t kStateFloats = 2 * 128;

constexpr SegmentSettings kDefaults = {.onThreshold = 0.5,
                                       .offThreshold = 0.35,
                                       .onsetFrames = 2,
                                       .onsetWindow = 3,
                                       .beginMarginMs = 40,
                                       .maxSpeechMs = 60000};

Mutex modelMutex;
std::shared_ptr<const OnnxSession> model GUARDED_BY(modelMutex);

std::shared_ptr<const OnnxSession> sharedModel()
{
    MutexLock lock{modelMutex};
    return model;
}

class SileroDetector : public VadDetector
{
public:
    explicit SileroDetector(std::shared_ptr<const OnnxSession> session)
        : session_(std::move(session))
    {
        frameSamples = kFrameSamples;
        defaults = kDefaults;
    }

    // Ties the model's inputs and outputs to this record's memory; false when they are not those
    // of the model that this is written for.
    bool bind()
    {
        const auto &inputs = onnxInputNames(*session_);
        const auto &outputs = onnxOutputNames(*session_);
        if (inputs.size() != inputs_.size() || outputs.size() != outputs_.size()) return false;
        for (size_t i = 0; i < inputs.size(); ++i) {
            if (inputs[i] == "input") inputs_[i] = onnxTensor(audio_, kAudioShape);
            if (inputs[i] == "state") inputs_[i] = onnxTensor(state_, kStateShape);
            if (inputs[i] == "sr") inputs_[i] = onnxTensor(rate_, {});
            if (!inputs_[i]) return false;
            inputViews_[i] = inputs_[i].get();
        }
        for (size_t i = 0; i < outputs.size(); ++i) {
            if (outputs[i] == "output") outputs_[i] = onnxTensor(probability_, kProbabilityShape);
            if (outputs[i] == "stateN") outputs_[i] = onnxTensor(nextState_, kStateShape);
            if (!outputs_[i]) return false;
        }
        return true;
    }

    bool take(const int16_t *samples, double *probability) override
    {
        std::transform(samples, samples + kFrameSamples, audio_.begin() + kContextSamples,
                       [](int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
        if (!onnxRun(*session_, inputViews_, outputs_)) return false;
        state_ = nextState_;
        std::copy(audio_.end() - kContextSamples, audio_.end(), audio_.begin());
        *probability = probability_[0];
        return true;
    }

    void reset() override
    {
        state_.fill(0);
        audio_.fill(0);
    }

private:
    static constexpr std::array<int64_t, 2> kAudioShape = {1, kContextSamples + kFrameSamples};
    static constexpr std::array<int64_t, 3> kStateShape = {2, 1, 128};
    static constexpr std::array<int64_t, 2> kProbabilityShape = {1, 1};

    std::shared_ptr<const OnnxSession> session_;
    std::array<float, kContextSamples + kFrameSamples> audio_{};
    std::array<float, kStateFloats> state_{};
    std::array<float, kStateFloats> nextState_{};
    std::array<float, 1> probability_{};
    std::array<int64_t, 1> rate_{16000};
    std::array<OnnxValue, 3> inputs_;
    std::array<const OrtValue *, 3> inputViews_{};
    std::array<OnnxValue, 2> outputs_;
};

} // namespace

std::unique_ptr<VadDetector> sileroDetector()
{
    auto session = sharedModel();
    if (!session) return nullptr;
    auto detector = std::make_unique<SileroDetector>(std::move(session));
    return detector->bind() ? std::move(detector) : nullptr;
}

int32_t vadModelsLoad()
{
    std::string path = findResource(kModelName);
    std::shared_ptr<const OnnxSession> session;
    int32_t result = path.empty() ? kOnnxMissing : onnxOpen(path, &session);
    if (result == kOnnxMissing) {
        SILERO_LOG(kWarning, "  no %s: speech is detected without a model\n",
                   path.empty() ? kModelName : "inference runtime");
        result = 0;
    } else if (result == 0 && !SileroDetector{session}.bind()) {
        SILERO_LOG(kError, "  not a voice activity model: %s\n", path.c_str());
        result = kModelBroken;
    }
    if (result != 0) return result;
    MutexLock lock{modelMutex};
    model = std::move(session);
    return 0;
}

void vadModelsRelease()
{
    MutexLock lock{modelMutex};
    model.reset();
}

} // namespace vantel::ostrel
