#include "ostrel/runtime/vosk.h"

#include "ostrel/library.h"
#include "platform/narrow_path.h"
#include "platform/platform.h"

#include <cmath>
#include <cstring>
#include <mutex>

#define VOSK_LOG(level, ...) ENGINE_LOG("ostrel/runtime/vosk", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

constexpr float kSampleRate = 16000;
constexpr const char *kModelFolder = "streaming_en_us";

// The library's functions, as its documentation has them. Its handles are opaque.
struct Functions {
    void (*setLogLevel)(int level);
    void *(*modelNew)(const char *folder);
    void (*modelFree)(void *model);
    int (*modelFindWord)(void *model, const char *word);
    void *(*recognizerNew)(void *model, float sampleRate);
    void *(*recognizerNewGrammar)(void *model, float sampleRate, const char *phrases);
    void (*recognizerFree)(void *recognizer);
    void (*recognizerSetWords)(void *recognizer, int words);
    int (*recognizerAccept)(void *recognizer, const int16_t *samples, int count);
    const char *(*recognizerPartial)(void *recognizer);
    const char *(*recognizerFinal)(void *recognizer);
    void (*recognizerReset)(void *recognizer);
};

// Guards all of what is shared.
std::mutex sharedMutex;
Functions functions;           // constant once `isLoaded`
bool isLoaded = false;         // the library, for good
std::string sharedModelFolder; // of sharedModel
std::shared_ptr<const VoskModel> &sharedModel()
{
    static auto &model = *new std::shared_ptr<const VoskModel>;
    return model;
}

template <typename Function> bool find(void *module, const char *name, Function *function)
{
    *function = reinterpret_cast<Function>(platformLibrarySymbol(module, name));
    return *function != nullptr;
}

bool findAll(void *module, Functions *out)
{
    return find(module, "vosk_set_log_level", &out->setLogLevel) &&
           find(module, "vosk_model_new", &out->modelNew) &&
           find(module, "vosk_model_free", &out->modelFree) &&
           find(module, "vosk_model_find_word", &out->modelFindWord) &&
           find(module, "vosk_recognizer_new", &out->recognizerNew) &&
           find(module, "vosk_recognizer_new_grm", &out->recognizerNewGrammar) &&
           find(module, "vosk_recognizer_free", &out->recognizerFree) &&
           find(module, "vosk_recognizer_set_words", &out->recognizerSetWords) &&
           find(module, "vosk_recognizer_accept_waveform_s", &out->recognizerAccept) &&
           find(module, "vosk_recognizer_partial_result", &out->recognizerPartial) &&
           find(module, "vosk_recognizer_final_result", &out->recognizerFinal) &&
           find(module, "vosk_recognizer_reset", &out->recognizerReset);
}

// False with the reason.
bool loadLibrary(std::string *reason)
{
    if (isLoaded) return true;
    const std::string path = findResource(VANTEL_VOSK_LIBRARY);
    if (path.empty()) {
        *reason = "there is no " VANTEL_VOSK_LIBRARY;
        return false;
    }
    void *module = platformLibraryOpen(path.c_str());
    if (!module || !findAll(module, &functions)) {
        *reason = "cannot use the library " + path;
        VOSK_LOG(kError, "  %s\n", reason->c_str());
        platformLibraryClose(module);
        return false;
    }
    // It would write to standard error; at -1 still a line for every word that it does not know.
    functions.setLogLevel(-2);
    isLoaded = true;
    return true;
}

// The files without which the library gives up, some by ending the process.
constexpr const char *kNeededFiles[] = {
    "am/final.mdl",
    "conf/mfcc.conf",
    "conf/model.conf",
    "graph/Gr.fst",
    "graph/HCLr.fst",
    "graph/disambig_tid.int",
    "graph/phones/word_boundary.int",
    "ivector/final.dubm",
    "ivector/final.ie",
    "ivector/final.mat",
    "ivector/global_cmvn.stats",
    "ivector/online_cmvn.conf",
    "ivector/splice.conf",
};

bool hasFiles(const std::string &folder, std::string *reason)
{
    for (const char *file : kNeededFiles) {
        const std::string path = folder + "/" + file;
        if (platformPathExists(path.c_str())) continue;
        *reason = "the model has no " + path;
        VOSK_LOG(kError, "  %s\n", reason->c_str());
        return false;
    }
    return true;
}

// Times are told in seconds, in steps of 10 ms from the decoder's first sample on.
int32_t milliseconds(const cJSON *seconds, int64_t utteranceAt)
{
    constexpr double kStepsPerSecond = 100;
    constexpr int32_t kStepMs = 10;
    if (!cJSON_IsNumber(seconds)) return 0;
    const double since =
        seconds->valuedouble - static_cast<double>(utteranceAt) / static_cast<double>(kSampleRate);
    return static_cast<int32_t>(std::lround(since * kStepsPerSecond)) * kStepMs;
}

std::string phrasesText(std::span<const std::string> phrases)
{
    Json list{cJSON_CreateArray()};
    for (const std::string &phrase : phrases)
        cJSON_AddItemToArray(list.get(), cJSON_CreateString(phrase.c_str()));
    HeapText text = jsonPrint(list.get());
    return text ? text.get() : "";
}

} // namespace

struct VoskModel {
    explicit VoskModel(void *loaded) : handle{loaded} {}
    ~VoskModel() { functions.modelFree(handle); }
    VoskModel(const VoskModel &) = delete;
    VoskModel &operator=(const VoskModel &) = delete;

    void *handle; // never null
};

struct VoskDecoder {
    std::shared_ptr<const VoskModel> model;
    void *handle = nullptr;
    int64_t samples = 0; // taken so far, as its times run on from utterance to utterance
    int64_t utteranceAt = 0;
};

void VoskDecoderDelete::operator()(VoskDecoder *decoder) const
{
    if (decoder->handle) functions.recognizerFree(decoder->handle);
    delete decoder;
}

std::shared_ptr<const VoskModel> voskModelOpen(const std::string &wanted, std::string *reason)
{
    std::lock_guard lock{sharedMutex};
    const std::string folder = wanted.empty() ? findResource(kModelFolder) : wanted;
    if (folder.empty()) {
        *reason = std::string{"there is no model "} + kModelFolder;
        return nullptr;
    }
    if (sharedModel() && sharedModelFolder == folder) return sharedModel();
    if (!loadLibrary(reason) || !hasFiles(folder, reason)) return nullptr;
    const std::string narrowed = platformNarrowPath(folder);
    void *handle = narrowed.empty() ? nullptr : functions.modelNew(narrowed.c_str());
    if (!handle) {
        *reason =
            (narrowed.empty() ? "its library cannot spell the folder " : "cannot use the model ") +
            folder;
        VOSK_LOG(kError, "  %s\n", reason->c_str());
        return nullptr;
    }
    sharedModel() = std::make_shared<const VoskModel>(handle);
    sharedModelFolder = folder;
    VOSK_LOG(kInfo, "  model %s\n", folder.c_str());
    return sharedModel();
}

bool voskModelKnows(const VoskModel &model, const std::string &word)
{
    // Among its words are marks of its own, as "<eps>" and "#0". It would end the process over the
    // first of them in a phrase.
    constexpr const char *kMarks = "<[#!";
    if (word.empty() || std::strchr(kMarks, word[0])) return false;
    return functions.modelFindWord(model.handle, word.c_str()) >= 0;
}

void voskRelease()
{
    std::lock_guard lock{sharedMutex};
    sharedModel().reset();
}

VoskDecoderHandle voskDecoderOpen(std::shared_ptr<const VoskModel> model,
                                  std::span<const std::string> phrases)
{
    VoskDecoderHandle decoder{new VoskDecoder{std::move(model)}};
    if (phrases.empty()) {
        decoder->handle = functions.recognizerNew(decoder->model->handle, kSampleRate);
    } else {
        // A text that is no list of texts would not be an error but a crash, later.
        const std::string text = phrasesText(phrases);
        if (!text.empty())
            decoder->handle =
                functions.recognizerNewGrammar(decoder->model->handle, kSampleRate, text.c_str());
    }
    if (!decoder->handle) {
        VOSK_LOG(kError, "  no decoder for %zu phrases\n", phrases.size());
        return nullptr;
    }
    functions.recognizerSetWords(decoder->handle, 1);
    return decoder;
}

bool voskDecoderFeed(VoskDecoder *decoder, std::span<const int16_t> samples)
{
    decoder->samples += static_cast<int64_t>(samples.size());
    return functions.recognizerAccept(decoder->handle, samples.data(),
                                      static_cast<int>(samples.size())) == 1;
}

std::string voskDecoderPartial(VoskDecoder *decoder)
{
    Json result = jsonParse(functions.recognizerPartial(decoder->handle));
    const char *text = jsonString(result.get(), "partial");
    return text ? text : "";
}

std::vector<HeardWord> voskDecoderFinish(VoskDecoder *decoder)
{
    Json result = jsonParse(functions.recognizerFinal(decoder->handle));
    std::vector<HeardWord> words;
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, jsonMember(result.get(), "result"))
    {
        const char *text = jsonString(item, "word");
        const cJSON *confidence = jsonMember(item, "conf");
        if (!text) continue;
        words.push_back({text, milliseconds(jsonMember(item, "start"), decoder->utteranceAt),
                         milliseconds(jsonMember(item, "end"), decoder->utteranceAt),
                         cJSON_IsNumber(confidence) ? confidence->valuedouble : 0});
    }
    voskDecoderReset(decoder);
    return words;
}

void voskDecoderReset(VoskDecoder *decoder)
{
    functions.recognizerReset(decoder->handle);
    decoder->utteranceAt = decoder->samples;
}

} // namespace vantel::ostrel
