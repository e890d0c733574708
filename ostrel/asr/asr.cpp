#include "ostrel/asr/asr.h"

#include "ostrel/model_files.h"
#include "ostrel/no_throw.h"

#include <algorithm>
#include <cstring>
#include <thread>

#define ASR_LOG(level, ...) ENGINE_LOG("ostrel/asr", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr size_t kSamplesPerMs = 16;

// How much audio the partial search takes at once; every such step its words are looked at.
constexpr size_t kPartialStep = 100 * kSamplesPerMs;

// Shorter than any word; a decoder has hardly a frame of it.
constexpr size_t kShortestUtterance = 50 * kSamplesPerMs;

bool openGrammar(Recogniser *recogniser)
{
    const AsrOptions &options = recogniser->options;
    if (!options.grammarFile.empty()) {
        recogniser->grammar = grammarLoad(options.grammarFile);
        return recogniser->grammar != nullptr;
    }
    const bool isNamed = !options.grammarName.empty();
    recogniser->grammar = grammarFind(isNamed ? options.grammarName : kDefaultGrammarName);
    if (isNamed && !recogniser->grammar)
        ASR_LOG(kError, "  no grammar of the name %s\n", options.grammarName.c_str());
    return !isNamed || recogniser->grammar != nullptr;
}

std::unique_ptr<Recogniser> open(const char *configuration)
{
    auto recogniser = std::make_unique<Recogniser>();
    if (!readAsrOptions(configuration, &recogniser->options) || !openGrammar(recogniser.get()))
        return nullptr;
    const AsrOptions &options = recogniser->options;
    if (recogniser->grammar) {
        recogniser->borrowsModel = isChinese(*recogniser->grammar) &&
                                   options.acousticModel == modelFile(kDefaultAcousticModel);
        recogniser->decoder =
            decoderOpen(options.acousticModel, *recogniser->grammar, recogniser->borrowsModel);
        if (!recogniser->decoder) return nullptr;
    }
    // The transcriber knows English only: on Chinese it would invent words.
    const bool chinese = recogniser->grammar && isChinese(*recogniser->grammar);
    if (options.ngram == NgramSource::transcriber ||
        (options.ngram == NgramSource::whenPresent && !chinese))
        recogniser->transcriber = transcriberOpen();
    if (options.ngram == NgramSource::transcriber && !recogniser->transcriber) return nullptr;
    if (!recogniser->grammar && !recogniser->transcriber) {
        ASR_LOG(kError, "  a recogniser with neither a grammar nor a transcriber\n");
        return nullptr;
    }
    return recogniser;
}

void forgetUtterance(Recogniser *recogniser)
{
    if (recogniser->decoder) decoderStreamEnd(recogniser->decoder.get());
    recogniser->started = false;
    recogniser->audio.clear();
    recogniser->oddByte.reset();
    recogniser->streamed = 0;
    recogniser->lastPartial.clear();
}

bool usesGrammar(const Recogniser &recogniser)
{
    return recogniser.decoder && recogniser.start.grammar;
}

void deliver(const Recogniser &recogniser, HeapText text)
{
    if (!text || !recogniser.callback) return;
    ASR_LOG(kInfo, "  result %s\n", text.get());
    recogniser.callback(recogniser.user, 0, text.get(),
                        static_cast<int32_t>(std::strlen(text.get())));
}

void deliverPartial(Recogniser *recogniser)
{
    std::vector<std::string> words;
    for (int32_t word : decoderStreamWords(recogniser->decoder.get()))
        words.push_back(recogniser->grammar->tree.words[static_cast<size_t>(word)].text);
    const std::string text = joined(words);
    if (text.empty() || text == recogniser->lastPartial) return;
    recogniser->lastPartial = text;
    deliver(*recogniser, partialResult(text));
}

// False when the decoder failed.
bool stream(Recogniser *recogniser)
{
    while (recogniser->audio.size() - recogniser->streamed >= kPartialStep) {
        std::span<const int16_t> step{&recogniser->audio[recogniser->streamed], kPartialStep};
        recogniser->streamed += kPartialStep;
        if (!decoderStreamFeed(recogniser->decoder.get(), step)) return false;
        deliverPartial(recogniser);
    }
    return true;
}

// Appends the bytes; a sample may be cut by the end of a chunk.
void append(Recogniser *recogniser, const uint8_t *bytes, size_t count)
{
    auto addSample = [&](uint8_t low, uint8_t high) {
        recogniser->audio.push_back(static_cast<int16_t>(low | high << 8));
    };
    if (recogniser->oddByte && count > 0) {
        addSample(*recogniser->oddByte, bytes[0]);
        recogniser->oddByte.reset();
        bytes++;
        count--;
    }
    for (size_t i = 0; i + 1 < count; i += 2)
        addSample(bytes[i], bytes[i + 1]);
    if (count % 2 != 0) recogniser->oddByte = bytes[count - 1];
}

int32_t start(Recogniser *recogniser, const char *startText)
{
    forgetUtterance(recogniser);
    recogniser->start = readStartOptions(startText);
    if (usesGrammar(*recogniser) && recogniser->options.partials &&
        !decoderStreamStart(recogniser->decoder.get()))
        return kAsrFailed;
    recogniser->started = true;
    return 0;
}

int32_t feed(Recogniser *recogniser, const uint8_t *bytes, int32_t count)
{
    if (!recogniser->started) return kAsrNotStarted;
    if (count < 0 || (!bytes && count > 0)) return kAsrArgument;
    const size_t limit =
        static_cast<size_t>(std::max(recogniser->options.limitMs, 0)) * kSamplesPerMs;
    const size_t taken = recogniser->audio.size();
    const size_t fed = (static_cast<size_t>(count) + recogniser->oddByte.has_value()) / 2;
    const bool fits = fed <= limit - std::min(taken, limit);
    // What still fits belongs to the utterance.
    append(recogniser, bytes,
           fits ? static_cast<size_t>(count) : (limit - std::min(taken, limit)) * 2);
    if (usesGrammar(*recogniser) && recogniser->options.partials && !stream(recogniser))
        return kAsrFailed;
    return fits ? 0 : OSTREL_LIMIT_EXCEEDED;
}

// The two recognitions, side by side.
bool recognise(Recogniser *recogniser, GrammarResult *grammar, NgramResult *ngram)
{
    const bool transcribes = recogniser->transcriber && recogniser->start.ngram;
    if (!usesGrammar(*recogniser)) {
        if (transcribes) recogniseNgram(*recogniser, ngram);
        return true;
    }
    std::thread beside;
    auto transcribeQuietly = [&] {
        const bool answered = withoutThrowing(false, [&] {
            recogniseNgram(*recogniser, ngram);
            return true;
        });
        if (!answered) *ngram = {};
    };
    bool later = false; // no thread could be had
    try {
        if (transcribes) beside = std::thread{transcribeQuietly};
    } catch (const std::exception &) {
        later = true;
    }
    const bool done = withoutThrowing(false, [&] { return recogniseGrammar(recogniser, grammar); });
    if (!done) *grammar = {};
    if (beside.joinable()) beside.join();
    if (later) transcribeQuietly();
    return done;
}

int32_t stop(Recogniser *recogniser)
{
    if (!recogniser->started) return kAsrNotStarted;
    recogniser->started = false;
    GrammarResult grammar;
    NgramResult ngram;
    bool done = true;
    if (recogniser->decoder) decoderStreamEnd(recogniser->decoder.get());
    if (recogniser->audio.size() >= kShortestUtterance)
        done = recognise(recogniser, &grammar, &ngram);
    rateGrammar(*recogniser, ngram, &grammar);
    HeapText result = finalResult(*recogniser, grammar, ngram);
    forgetUtterance(recogniser);
    deliver(*recogniser, std::move(result));
    return done ? 0 : kAsrFailed;
}

template <typename Action> int32_t onHandle(void *handle, Action &&action)
{
    if (!handle) return kAsrArgument;
    return withoutThrowing<int32_t>(kAsrFailed,
                                    [&] { return action(static_cast<Recogniser *>(handle)); });
}

} // namespace
} // namespace vantel::ostrel

using namespace vantel::ostrel;

void *ostrel_asr_new(const char *configuration, ostrel_callback callback, void *user)
{
    return withoutThrowing<void *>(nullptr, [&]() -> void * {
        std::unique_ptr<Recogniser> recogniser = open(configuration);
        if (!recogniser) return nullptr;
        recogniser->callback = callback;
        recogniser->user = user;
        return recogniser.release();
    });
}

int32_t ostrel_asr_start(void *handle, const char *startText)
{
    return onHandle(handle, [&](Recogniser *recogniser) { return start(recogniser, startText); });
}

int32_t ostrel_asr_feed(void *handle, const void *pcm, int32_t bytes)
{
    return onHandle(handle, [&](Recogniser *recogniser) {
        return feed(recogniser, static_cast<const uint8_t *>(pcm), bytes);
    });
}

int32_t ostrel_asr_stop(void *handle)
{
    return onHandle(handle, [](Recogniser *recogniser) { return stop(recogniser); });
}

int32_t ostrel_asr_cancel(void *handle)
{
    return onHandle(handle, [](Recogniser *recogniser) {
        forgetUtterance(recogniser);
        return 0;
    });
}

int32_t ostrel_asr_delete(void *handle)
{
    return onHandle(handle, [](Recogniser *recogniser) {
        delete recogniser;
        return 0;
    });
}
