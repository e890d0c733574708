#include "ostrel/asr/asr.h"

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

// Shorter than any word; a decoder has hardly a frame of it.
constexpr size_t kShortestUtterance = 50 * kSamplesPerMs;

// A grammar that was understood as well as this needs no free speech beside it; the usual
// threshold.
constexpr double kUnderstood = 0.55;

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

// Nothing when free speech is not wanted, or was found missing before.
void openTranscriber(Recogniser *recogniser)
{
    if (!recogniser->mayTranscribe || recogniser->transcriber) return;
    recogniser->transcriber = transcriberOpen();
    recogniser->mayTranscribe = recogniser->transcriber != nullptr;
}

std::unique_ptr<Recogniser> open(const char *configuration)
{
    auto recogniser = std::make_unique<Recogniser>();
    if (!readAsrOptions(configuration, &recogniser->options) || !openGrammar(recogniser.get()))
        return nullptr;
    const AsrOptions &options = recogniser->options;
    if (recogniser->grammar) {
        recogniser->search = grammarSearchOpen(options, recogniser->grammar);
        if (!recogniser->search) return nullptr;
    }
    if (options.continuous) {
        if (recogniser->search) return recogniser;
        ASR_LOG(kError, "  \"continuous\" without a grammar\n");
        return nullptr;
    }
    // The transcriber knows English only: on Chinese it would invent words.
    const bool chinese = recogniser->grammar && isChinese(*recogniser->grammar);
    const bool always = options.ngram == NgramSource::transcriber;
    recogniser->mayTranscribe = always || (options.ngram == NgramSource::whenPresent && !chinese);
    // What not every utterance needs is loaded by the first that does.
    if (always || !recogniser->search || recogniser->search->usesNgram)
        openTranscriber(recogniser.get());
    else if (recogniser->mayTranscribe)
        recogniser->mayTranscribe = transcriberIsThere();
    if (always && !recogniser->transcriber) return nullptr;
    if (!recogniser->search && !recogniser->transcriber) {
        ASR_LOG(kError, "  a recogniser with neither a grammar nor a transcriber\n");
        return nullptr;
    }
    return recogniser;
}

void forgetUtterance(Recogniser *recogniser)
{
    if (recogniser->search) recogniser->search->cancel();
    recogniser->started = false;
    recogniser->audio.clear();
    recogniser->oddByte.reset();
    recogniser->searched = 0;
    recogniser->lastPartial.clear();
}

bool usesGrammar(const Recogniser &recogniser)
{
    return recogniser.search && recogniser.start.grammar;
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
    const std::string text = recogniser->search->partial();
    if (text.empty() || text == recogniser->lastPartial) return;
    recogniser->lastPartial = text;
    deliver(*recogniser, partialResult(text));
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
    recogniser->endedItself = false;
    recogniser->start = readStartOptions(startText);
    if (usesGrammar(*recogniser) && !recogniser->search->start()) return kAsrFailed;
    recogniser->started = true;
    return 0;
}

void recogniseNgram(Recogniser *recogniser, NgramResult *result)
{
    // Above this the model's own view is that there was no speech, and its words are made up.
    constexpr double kNoSpeech = 0.9;
    Transcript transcript;
    openTranscriber(recogniser);
    if (!recogniser->transcriber || !transcribe(*recogniser->transcriber, recogniser->audio.data(),
                                                recogniser->audio.size(), &transcript))
        return;
    ASR_LOG(kDebug, "  transcript \"%s\", confidence %.3f, noise %.3f\n", transcript.text.c_str(),
            transcript.confidence, transcript.noise);
    result->isThere = true;
    if (transcript.noise > kNoSpeech) return;
    result->text = transcriptWords(transcript.text);
    result->confidence = result->text.empty() ? 0 : transcript.confidence;
}

void transcribeQuietly(Recogniser *recogniser, NgramResult *ngram)
{
    const bool answered = withoutThrowing(false, [&] {
        recogniseNgram(recogniser, ngram);
        return true;
    });
    if (!answered) *ngram = {};
}

bool searchQuietly(Recogniser *recogniser, GrammarResult *grammar)
{
    const bool done = withoutThrowing(
        false, [&] { return recogniser->search->finish(recogniser->audio, grammar); });
    if (!done) *grammar = {};
    return done;
}

// The two recognitions side by side.
bool recogniseBoth(Recogniser *recogniser, GrammarResult *grammar, NgramResult *ngram)
{
    std::thread beside;
    bool later = false; // no thread could be had
    try {
        beside = std::thread{transcribeQuietly, recogniser, ngram};
    } catch (const std::exception &) {
        later = true;
    }
    const bool done = searchQuietly(recogniser, grammar);
    if (beside.joinable()) beside.join();
    if (later) transcribeQuietly(recogniser, ngram);
    return done;
}

bool recognise(Recogniser *recogniser, GrammarResult *grammar, NgramResult *ngram)
{
    const bool transcribes = recogniser->mayTranscribe && recogniser->start.ngram;
    if (!usesGrammar(*recogniser)) {
        if (transcribes) transcribeQuietly(recogniser, ngram);
        return true;
    }
    GrammarSearch *search = recogniser->search.get();
    const bool always = recogniser->options.ngram == NgramSource::transcriber;
    bool done = true;
    if (transcribes && (always || search->usesNgram)) {
        done = recogniseBoth(recogniser, grammar, ngram);
    } else {
        done = searchQuietly(recogniser, grammar);
        if (transcribes && grammar->confidence < kUnderstood) transcribeQuietly(recogniser, ngram);
    }
    search->rate(*ngram, grammar);
    return done;
}

// Delivers the utterance's result, and forgets it.
int32_t end(Recogniser *recogniser)
{
    GrammarResult grammar;
    NgramResult ngram;
    bool done = true;
    // What came behind an end that was heard belongs to nobody.
    if (recogniser->endedItself) recogniser->audio.resize(recogniser->searched);
    if (recogniser->audio.size() >= kShortestUtterance)
        done = recognise(recogniser, &grammar, &ngram);
    HeapText result = finalResult(*recogniser, grammar, ngram);
    forgetUtterance(recogniser);
    deliver(*recogniser, std::move(result));
    return done ? 0 : kAsrFailed;
}

// Delivers what was found in audio without end, whose past is then forgotten. False when the search
// failed.
bool deliverFound(Recogniser *recogniser)
{
    GrammarResult grammar;
    if (!recogniser->search->finish({}, &grammar)) return false;
    recogniser->lastPartial.clear();
    if (!grammar.words.empty()) deliver(*recogniser, finalResult(*recogniser, grammar, {}));
    return true;
}

// Gives the search what came in, in whole blocks. False when it failed.
bool search(Recogniser *recogniser)
{
    GrammarSearch *search = recogniser->search.get();
    const AsrOptions &options = recogniser->options;
    const size_t block = search->blockSamples;
    while (recogniser->audio.size() - recogniser->searched >= block) {
        std::span<const int16_t> step{&recogniser->audio[recogniser->searched], block};
        recogniser->searched += block;
        if (!search->feed(step)) return false;
        if (options.partials) deliverPartial(recogniser);
        if (!(options.continuous || options.earlyEnd) || !search->isOver()) continue;
        if (options.continuous && !deliverFound(recogniser)) return false;
        if (!options.continuous) {
            ASR_LOG(kInfo, "  the utterance ends itself after %zu ms\n",
                    recogniser->searched / kSamplesPerMs);
            recogniser->endedItself = true;
            return end(recogniser) == 0;
        }
    }
    if (options.continuous) {
        auto first = recogniser->audio.begin();
        recogniser->audio.erase(first, first + static_cast<ptrdiff_t>(recogniser->searched));
        recogniser->searched = 0;
    }
    return true;
}

int32_t feed(Recogniser *recogniser, const uint8_t *bytes, int32_t count)
{
    if (recogniser->endedItself) return 0;
    if (!recogniser->started) return kAsrNotStarted;
    if (count < 0 || (!bytes && count > 0)) return kAsrArgument;
    if (recogniser->options.continuous && !usesGrammar(*recogniser)) return 0;
    const size_t limit =
        recogniser->options.continuous
            ? SIZE_MAX / 2
            : static_cast<size_t>(std::max(recogniser->options.limitMs, 0)) * kSamplesPerMs;
    const size_t taken = recogniser->audio.size();
    const size_t fed = (static_cast<size_t>(count) + recogniser->oddByte.has_value()) / 2;
    const bool fits = fed <= limit - std::min(taken, limit);
    // What still fits belongs to the utterance.
    append(recogniser, bytes,
           fits ? static_cast<size_t>(count) : (limit - std::min(taken, limit)) * 2);
    if (usesGrammar(*recogniser) && !search(recogniser)) return kAsrFailed;
    return fits ? 0 : OSTREL_LIMIT_EXCEEDED;
}

int32_t stop(Recogniser *recogniser)
{
    if (recogniser->endedItself) {
        recogniser->endedItself = false;
        return 0;
    }
    if (!recogniser->started) return kAsrNotStarted;
    recogniser->started = false;
    if (!recogniser->options.continuous) return end(recogniser);
    const bool done = deliverFound(recogniser);
    forgetUtterance(recogniser);
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
        recogniser->endedItself = false;
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
