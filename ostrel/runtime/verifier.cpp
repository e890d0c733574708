#include "ostrel/runtime/verifier.h"

#include "ostrel/library.h"
#include "ostrel/runtime/byte_pairs.h"
#include "ostrel/runtime/log_mel.h"
#include "ostrel/runtime/onnx.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <mutex>

#define VERIFIER_LOG(level, ...) ENGINE_LOG("ostrel/verifier", level, __VA_ARGS__)

namespace vantel::ostrel
{

struct Verifier {
    std::shared_ptr<const OnnxSession> encoder; // spectrum to hidden states
    std::shared_ptr<const OnnxSession> decoder; // hidden states and tokens to the next tokens
    BytePairs vocabulary;
    std::vector<int64_t> prompt; // before the text
};

namespace
{

constexpr char kEncoderName[] = "whisper_tiny/encoder.onnx";
constexpr char kDecoderName[] = "whisper_tiny/decoder.onnx";
constexpr char kVocabularyName[] = "whisper_tiny/vocabulary.json";

// Tokens with a meaning of their own.
constexpr int64_t kEnd = 50257;
constexpr int64_t kBegin = 50258;
constexpr int64_t kChinese = 50260;
constexpr int64_t kTranscribe = 50359;
constexpr int64_t kBefore = 50361; // text that was said before follows
constexpr int64_t kNoTimes = 50363;

// As if this had been said before: else the model often writes traditional characters.
constexpr char kBeforeText[] = "这是简体中文。";

std::mutex sharedMutex;
bool sharedTried = false;               // guarded by sharedMutex
std::shared_ptr<const Verifier> shared; // guarded by sharedMutex

bool openModel(const char *name, std::shared_ptr<const OnnxSession> *session)
{
    const std::string path = findResource(name);
    if (path.empty()) {
        VERIFIER_LOG(kWarning, "  no %s: commands are not verified\n", name);
        return false;
    }
    const int32_t result = onnxOpen(path, session);
    if (result == kOnnxMissing)
        VERIFIER_LOG(kWarning, "  no inference runtime: commands are not verified\n");
    return result == 0;
}

// Audio, tokens, the past of each layer, a flag whether there is one.
bool isTheDecoder(const OnnxSession &decoder)
{
    const auto &inputs = onnxInputNames(decoder);
    return inputs.size() > 3 && inputs.front() == "input_ids" &&
           inputs[1] == "encoder_hidden_states" && inputs.back() == "use_cache_branch";
}

std::shared_ptr<const Verifier> load()
{
    auto made = std::make_shared<Verifier>();
    if (!openModel(kEncoderName, &made->encoder) || !openModel(kDecoderName, &made->decoder))
        return nullptr;
    const std::string path = findResource(kVocabularyName);
    std::string json;
    if (!path.empty() && readFile(path, &json)) made->vocabulary = bytePairsRead(json);
    if (made->vocabulary.empty()) {
        VERIFIER_LOG(kError, "  no usable %s\n", kVocabularyName);
        return nullptr;
    }
    if (onnxInputNames(*made->encoder).size() != 1 || !isTheDecoder(*made->decoder)) {
        VERIFIER_LOG(kError, "  not the models that were expected: %s, %s\n", kEncoderName,
                     kDecoderName);
        return nullptr;
    }
    made->prompt = bytePairsSplit(made->vocabulary, kBeforeText);
    made->prompt.insert(made->prompt.begin(), kBefore);
    made->prompt.insert(made->prompt.end(), {kBegin, kChinese, kTranscribe, kNoTimes});
    VERIFIER_LOG(kInfo, "  verifier loaded\n");
    return made;
}

// The scores of all tokens behind each of the given ones. The whole text is known, so one run
// without a past does.
bool runDecoder(const OnnxSession &decoder, const OnnxValue &hidden, std::span<int64_t> tokens,
                OnnxValue *logits)
{
    std::array<bool, 1> hasPast = {false};
    const std::array<int64_t, 2> shape = {1, static_cast<int64_t>(tokens.size())};
    const std::array<int64_t, 1> flagShape = {1};
    const OnnxValue text = onnxTensor(tokens, shape);
    const OnnxValue flag = onnxTensor(hasPast, flagShape);
    const size_t count = onnxInputNames(decoder).size();
    std::vector<OnnxValue> past;
    std::vector<const OrtValue *> inputs = {text.get(), hidden.get()};
    static float nothing = 0;
    for (size_t i = 2; i + 1 < count; ++i) {
        std::vector<int64_t> sizes = onnxInputShape(decoder, i);
        if (sizes.size() != 4) return false;
        sizes[0] = 1;
        sizes[2] = 0;
        past.push_back(onnxTensor(std::span<float>{&nothing, 0}, sizes));
        inputs.push_back(past.back().get());
    }
    inputs.push_back(flag.get());
    if (std::find(inputs.begin(), inputs.end(), nullptr) != inputs.end()) return false;
    return onnxRun(decoder, inputs, std::span{logits, 1});
}

// The logarithm of the probability that the scores give to a token.
double logProbability(std::span<const float> scores, int64_t token)
{
    const double most = *std::max_element(scores.begin(), scores.end());
    double sum = 0;
    for (float score : scores)
        sum += std::exp(score - most);
    return scores[static_cast<size_t>(token)] - most - std::log(sum);
}

} // namespace

std::shared_ptr<const Verifier> verifierOpen()
{
    std::lock_guard lock{sharedMutex};
    if (!sharedTried) shared = load();
    sharedTried = true;
    return shared;
}

void verifierRelease()
{
    std::lock_guard lock{sharedMutex};
    shared.reset();
    sharedTried = false;
}

bool verify(const Verifier &verifier, const int16_t *samples, size_t count, const std::string &text,
            double *score)
{
    std::vector<float> mel = logMel(samples, count);
    const std::array<int64_t, 3> shape = {1, kMelBands, kMelFrames};
    const OnnxValue input = onnxTensor(mel, shape);
    const std::array<const OrtValue *, 1> inputs = {input.get()};
    std::array<OnnxValue, 1> hidden;
    if (!input || !onnxRun(*verifier.encoder, inputs, hidden)) return false;

    std::vector<int64_t> tokens = bytePairsSplit(verifier.vocabulary, text);
    tokens.push_back(kEnd);
    std::vector<int64_t> fed = verifier.prompt;
    fed.insert(fed.end(), tokens.begin(), tokens.end() - 1);
    OnnxValue logits;
    if (!runDecoder(*verifier.decoder, hidden[0], fed, &logits)) return false;
    const std::vector<int64_t> sizes = onnxShape(logits);
    if (sizes.size() != 3 || sizes[2] <= kNoTimes) return false;
    const auto known = static_cast<size_t>(sizes[2]);
    const std::span<const float> scores = onnxFloats(logits);
    double sum = 0;
    for (size_t i = 0; i < tokens.size(); ++i)
        sum += logProbability(scores.subspan((verifier.prompt.size() - 1 + i) * known, known),
                              tokens[i]);
    *score = sum / static_cast<double>(tokens.size());
    return true;
}

} // namespace vantel::ostrel
