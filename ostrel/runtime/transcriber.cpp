#include "ostrel/runtime/transcriber.h"

#include "ostrel/library.h"
#include "ostrel/runtime/onnx.h"
#include "tools/thread_safety.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#define TRANSCRIBER_LOG(level, ...) ENGINE_LOG("ostrel/transcriber", level, __VA_ARGS__)

namespace vantel::ostrel
{

struct Transcriber {
    std::shared_ptr<const OnnxSession> encoder; // audio to hidden states
    std::shared_ptr<const OnnxSession> decoder; // hidden states and tokens to the next token
    std::vector<std::string> vocabulary;
};

namespace
{

constexpr char kEncoderName[] = "moonshine_tiny/encoder.onnx";
constexpr char kDecoderName[] = "moonshine_tiny/decoder.onnx";
constexpr char kVocabularyName[] = "moonshine_tiny/vocabulary.txt";

constexpr int64_t kBeginToken = 1;
constexpr int64_t kEndToken = 2;
constexpr size_t kSampleRate = 16000;
// The model is at its best with audio of about this peak.
constexpr float kPeak = 0.3F;
// Without silence at the end, a third of short utterances come back empty.
constexpr size_t kPaddingSamples = kSampleRate * 3 / 10;
// The encoder cannot take less.
constexpr size_t kLeastSamples = kSampleRate / 10;
// Faster speech than this is the decoder going round in circles.
constexpr size_t kTokensPerSecond = 10;
constexpr size_t kSpareTokens = 8;

Mutex sharedMutex;
bool sharedTried GUARDED_BY(sharedMutex) = false;
std::shared_ptr<const Transcriber> shared GUARDED_BY(sharedMutex);

// The decoder's inputs follow each other in this order, the past ones in the order in which its
// outputs after the first give them.
bool isTheDecoder(const OnnxSession &decoder)
{
    const auto &inputs = onnxInputNames(decoder);
    return inputs.size() > 3 && inputs.front() == "input_ids" &&
           inputs[1] == "encoder_hidden_states" && inputs.back() == "use_cache_branch" &&
           onnxOutputNames(decoder).size() == inputs.size() - 2;
}

bool openModel(const char *name, std::shared_ptr<const OnnxSession> *session)
{
    std::string path = findResource(name);
    if (path.empty()) {
        TRANSCRIBER_LOG(kWarning, "  no %s: free speech is not recognised\n", name);
        return false;
    }
    int32_t result = onnxOpen(path, session);
    if (result == kOnnxMissing)
        TRANSCRIBER_LOG(kWarning, "  no inference runtime: free speech is not recognised\n");
    return result == 0;
}

std::shared_ptr<const Transcriber> load()
{
    auto made = std::make_shared<Transcriber>();
    std::string path = findResource(kVocabularyName);
    std::string lines;
    if (!openModel(kEncoderName, &made->encoder) || !openModel(kDecoderName, &made->decoder))
        return nullptr;
    if (!path.empty() && readFile(path, &lines)) made->vocabulary = vocabularyRead(lines);
    if (made->vocabulary.empty()) {
        TRANSCRIBER_LOG(kError, "  no usable %s\n", kVocabularyName);
        return nullptr;
    }
    if (onnxInputNames(*made->encoder).size() != 1 || !isTheDecoder(*made->decoder)) {
        TRANSCRIBER_LOG(kError, "  not the models that were expected: %s, %s\n", kEncoderName,
                        kDecoderName);
        return nullptr;
    }
    TRANSCRIBER_LOG(kInfo, "  transcriber loaded\n");
    return made;
}

// The audio as the model wants it: a mild peak, some silence behind it.
std::vector<float> prepared(const int16_t *samples, size_t count)
{
    float peak = 1;
    for (size_t i = 0; i < count; ++i)
        peak = std::max(peak, std::abs(static_cast<float>(samples[i])));
    std::vector<float> audio(std::max(count + kPaddingSamples, kLeastSamples));
    std::transform(samples, samples + count, audio.begin(),
                   [&](int16_t sample) { return static_cast<float>(sample) * (kPeak / peak); });
    return audio;
}

// The decoder over one utterance, token by token.
struct Decoding {
    const OnnxSession *decoder;
    const OrtValue *hidden;       // the encoder's output
    std::array<int64_t, 1> token; // to be fed next
    std::array<bool, 1> cached;   // whether the past holds something
    std::vector<OnnxValue> past;
    std::vector<float> probabilities; // of the token that follows
};

// A past of no steps for each input that takes one.
bool emptyPast(const OnnxSession &decoder, std::vector<OnnxValue> *past)
{
    static float nothing = 0;
    size_t inputs = onnxInputNames(decoder).size();
    for (size_t i = 2; i + 1 < inputs; ++i) {
        std::vector<int64_t> shape = onnxInputShape(decoder, i);
        if (shape.size() != 4) return false;
        shape[0] = 1;
        shape[2] = 0;
        past->push_back(onnxTensor(std::span<float>{&nothing, 0}, shape));
        if (!past->back()) return false;
    }
    return true;
}

void softmax(std::vector<float> *values)
{
    float most = *std::max_element(values->begin(), values->end());
    double sum = 0;
    for (float &value : *values) {
        value = std::exp(value - most);
        sum += value;
    }
    for (float &value : *values)
        value = static_cast<float>(value / sum);
}

// The decoder's past after a step: what concerns the audio is made by the first one and stays, the
// later ones leave it empty.
void takePast(Decoding *decoding, std::span<OnnxValue> outputs)
{
    const auto &names = onnxOutputNames(*decoding->decoder);
    for (size_t i = 0; i < decoding->past.size(); ++i) {
        bool ofTheAudio = names[i + 1].find(".encoder.") != std::string::npos;
        if (!decoding->cached[0] || !ofTheAudio) decoding->past[i] = std::move(outputs[i + 1]);
    }
}

bool step(Decoding *decoding)
{
    constexpr std::array<int64_t, 2> kTokenShape = {1, 1};
    constexpr std::array<int64_t, 1> kFlagShape = {1};
    OnnxValue token = onnxTensor(decoding->token, kTokenShape);
    OnnxValue cached = onnxTensor(decoding->cached, kFlagShape);
    std::vector<const OrtValue *> inputs = {token.get(), decoding->hidden};
    for (const OnnxValue &value : decoding->past)
        inputs.push_back(value.get());
    inputs.push_back(cached.get());
    std::vector<OnnxValue> outputs(onnxOutputNames(*decoding->decoder).size());
    if (!token || !cached || !onnxRun(*decoding->decoder, inputs, outputs)) return false;

    std::span<const float> logits = onnxFloats(outputs[0]);
    if (logits.size() <= static_cast<size_t>(kEndToken)) return false;
    decoding->probabilities.assign(logits.begin(), logits.end());
    softmax(&decoding->probabilities);
    takePast(decoding, outputs);
    decoding->cached[0] = true;
    return true;
}

// Tokens up to the end of the text; `most` bounds them.
bool decode(const Transcriber &transcriber, const OnnxValue &hidden, size_t most,
            std::vector<int64_t> *tokens, Transcript *transcript)
{
    Decoding decoding{transcriber.decoder.get(), hidden.get(), {kBeginToken}, {false}, {}, {}};
    if (!emptyPast(*transcriber.decoder, &decoding.past)) return false;
    double sum = 0;
    for (size_t i = 0; i < most; ++i) {
        if (!step(&decoding)) return false;
        auto &probabilities = decoding.probabilities;
        if (i == 0) {
            // Something was said, or nobody would have asked; but how sure is the model?
            transcript->noise = probabilities[kEndToken];
            probabilities[kEndToken] = 0;
        }
        auto best = std::max_element(probabilities.begin(), probabilities.end());
        decoding.token[0] = best - probabilities.begin();
        if (decoding.token[0] == kEndToken) break;
        tokens->push_back(decoding.token[0]);
        sum += *best;
    }
    transcript->confidence = tokens->empty() ? 0 : sum / static_cast<double>(tokens->size());
    return true;
}

} // namespace

bool transcriberIsThere()
{
    for (const char *name : {kEncoderName, kDecoderName, kVocabularyName}) {
        if (!findResource(name).empty()) continue;
        TRANSCRIBER_LOG(kWarning, "  no %s: free speech is not recognised\n", name);
        return false;
    }
    if (onnxIsThere()) return true;
    TRANSCRIBER_LOG(kWarning, "  no inference runtime: free speech is not recognised\n");
    return false;
}

std::shared_ptr<const Transcriber> transcriberOpen()
{
    MutexLock lock{sharedMutex};
    if (!sharedTried) shared = load();
    sharedTried = true;
    return shared;
}

void transcriberRelease()
{
    MutexLock lock{sharedMutex};
    shared.reset();
    sharedTried = false;
}

bool transcribe(const Transcriber &transcriber, const int16_t *samples, size_t count,
                Transcript *transcript)
{
    *transcript = {};
    if (count == 0) return true;
    std::vector<float> audio = prepared(samples, count);
    const std::array<int64_t, 2> shape = {1, static_cast<int64_t>(audio.size())};
    OnnxValue input = onnxTensor(audio, shape);
    std::array<const OrtValue *, 1> inputs = {input.get()};
    std::array<OnnxValue, 1> hidden;
    if (!input || !onnxRun(*transcriber.encoder, inputs, hidden)) return false;
    std::vector<int64_t> tokens;
    size_t most = kSpareTokens + kTokensPerSecond * count / kSampleRate;
    if (!decode(transcriber, hidden[0], most, &tokens, transcript)) return false;
    transcript->text = vocabularySpell(transcriber.vocabulary, tokens);
    return true;
}

} // namespace vantel::ostrel
