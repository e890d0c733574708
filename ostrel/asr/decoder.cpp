#include "ostrel/asr/decoder.h"

#include "ostrel/asr/cepstra.h"
#include "ostrel/asr/decoder_guard.h"
#include "ostrel/library.h"
#include "ostrel/model_files.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <pocketsphinx.h>
#include <sphinxbase/cmn.h>
#include <sphinxbase/feat.h>

#define DECODER_LOG(level, ...) ENGINE_LOG("ostrel/decoder", level, __VA_ARGS__)

namespace vantel::ostrel
{

struct Decoder {
    ps_decoder_t *ps = nullptr;
    std::vector<mfcc_t> usualMean;       // of the cepstra, as the model has it; empty: not used
    cmn_type_t normalisation = CMN_NONE; // of a stream, as the model has it
    Cepstra cepstra;                     // of the utterance that is searched as a whole
    bool borrowed = false;               // the words are of another language than the model
    bool inUtterance = false;
    bool hasPhones = false; // a search for phones has a result
    bool failed = false;    // the library gave up inside a call; nothing of it is touched any more
};

namespace
{

constexpr const char *kGrammarSearch = "grammar";
constexpr const char *kPhoneSearch = "phones";

// The decoder knows words by their number, "w12", so that any text can be a word of a grammar.
std::string decoderWord(size_t index, size_t pronunciation)
{
    std::string name = "w" + std::to_string(index);
    return pronunciation == 0 ? name : name + "(" + std::to_string(pronunciation + 1) + ")";
}

int32_t wordIndex(const char *decoderName)
{
    if (!decoderName || decoderName[0] != 'w') return -1;
    return std::atoi(decoderName + 1);
}

int32_t pronunciationIndex(const char *decoderName)
{
    const char *number = decoderName ? std::strchr(decoderName, '(') : nullptr;
    return number ? std::atoi(number + 1) - 1 : 0;
}

// Runs the action unless the decoder has failed; a fault inside it fails the decoder.
template <typename Action> bool tryOn(Decoder *decoder, Action &&action)
{
    if (!decoder->failed && !guarded(action)) decoder->failed = true;
    return !decoder->failed;
}

// Beams are wide and word insertion is cheap, because short commands in noise need it; a grammar
// says nothing of how likely its words are, so it weighs no more than the sound; the silence that
// the detector leaves belongs to the utterance. With all states scored in every search, the scores
// of two searches can be compared.
cmd_ln_t *makeConfiguration(const char *acousticModel)
{
    return cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acousticModel, "-remove_silence", "no",
                       "-remove_noise", "yes", "-wip", "1e-4", "-beam", "1e-80", "-wbeam", "1e-60",
                       "-pbeam", "1e-80", "-lw", "1", "-topn", "4", "-compallsen", "yes",
                       "-allphone_ci", "yes", nullptr);
}

// Chinese words over the model of another language fit badly everywhere, so that narrower beams
// would lose the right ones.
void widen(cmd_ln_t *configuration)
{
    cmd_ln_set_float_r(configuration, "-lw", 6.5);
    cmd_ln_set_float_r(configuration, "-wip", 0.65);
    cmd_ln_set_float_r(configuration, "-beam", 1e-120);
    cmd_ln_set_float_r(configuration, "-wbeam", 1e-80);
    cmd_ln_set_float_r(configuration, "-pbeam", 1e-120);
}

bool makeDecoder(Decoder *decoder, const std::string &acousticModel)
{
    // Reading the model is not known to be safe on two threads at once.
    static std::mutex loading;
    std::lock_guard lock{loading};
    const char *folder = acousticModel.c_str();
    tryOn(decoder, [&] {
        cmd_ln_t *configuration = makeConfiguration(folder);
        if (configuration && decoder->borrowed) widen(configuration);
        decoder->ps = configuration ? ps_init(configuration) : nullptr;
        cmd_ln_free_r(configuration);
    });
    if (decoder->failed || !decoder->ps) {
        DECODER_LOG(kError, "  the acoustic model %s cannot be used\n", folder);
        return false;
    }
    const feat_t *features = ps_get_feat(decoder->ps);
    decoder->normalisation = features->cmn;
    const cmn_t *cmn = features->cmn_struct;
    if (cmn) decoder->usualMean.assign(cmn->cmn_mean, cmn->cmn_mean + cmn->veclen);
    return true;
}

bool addWords(Decoder *decoder, const Grammar &grammar)
{
    for (size_t i = 0; i < grammar.pronunciations.size(); ++i) {
        const Pronunciations &all = grammar.pronunciations[i];
        for (size_t n = 0; n < all.size(); ++n) {
            std::string name = decoderWord(i, n);
            int number = -1;
            tryOn(decoder, [&] {
                number = ps_add_word(decoder->ps, name.c_str(), all[n].phones.c_str(), FALSE);
            });
            if (number >= 0) continue;
            DECODER_LOG(kError, "  the acoustic model cannot speak \"%s\" as %s\n",
                        grammar.tree.words[i].text.c_str(), all[n].phones.c_str());
            return false;
        }
    }
    return true;
}

void addArcs(ps_decoder_t *ps, fsg_model_t *model, const Network &network)
{
    logmath_t *logmath = ps_get_logmath(ps);
    double weight = cmd_ln_float_r(ps_get_config(ps), "-lw");
    bool hasEmptyArcs = false;
    for (const Arc &arc : network.arcs) {
        auto logProb = static_cast<int32>(logmath_ln_to_log(logmath, arc.logProb) * weight);
        if (arc.word == kNoWord) {
            fsg_model_null_trans_add(model, arc.from, arc.to, logProb);
            hasEmptyArcs = true;
            continue;
        }
        char name[16];
        std::snprintf(name, sizeof name, "w%d", arc.word);
        fsg_model_trans_add(model, arc.from, arc.to, logProb, fsg_model_word_add(model, name));
    }
    if (hasEmptyArcs) glist_free(fsg_model_null_trans_closure(model, nullptr));
}

// The two searches; the decoder runs one of them at a time.
bool addSearches(Decoder *decoder, const Grammar &grammar)
{
    int result = -1;
    const Network &network = grammar.network;
    tryOn(decoder, [&] {
        ps_decoder_t *ps = decoder->ps;
        auto weight = static_cast<float32>(cmd_ln_float_r(ps_get_config(ps), "-lw"));
        fsg_model_t *model =
            fsg_model_init(kGrammarSearch, ps_get_logmath(ps), weight, network.states);
        model->start_state = network.start;
        model->final_state = network.final;
        addArcs(ps, model, network);
        result = ps_set_fsg(ps, kGrammarSearch, model);
        fsg_model_free(model);
        if (result == 0) result = ps_set_allphone(ps, kPhoneSearch, nullptr);
    });
    if (decoder->failed || result != 0) DECODER_LOG(kError, "  the grammar cannot be searched\n");
    return !decoder->failed && result == 0;
}

// Starts an utterance that owes nothing to earlier ones. Its mean is taken off as `normalisation`
// says.
bool startUtterance(Decoder *decoder, const char *search, cmn_type_t normalisation)
{
    int result = -1;
    tryOn(decoder, [&] {
        ps_decoder_t *ps = decoder->ps;
        feat_t *features = ps_get_feat(ps);
        features->cmn = normalisation;
        if (!decoder->usualMean.empty())
            cmn_live_set(features->cmn_struct, decoder->usualMean.data());
        if (ps_set_search(ps, search) != 0) return;
        ps_start_stream(ps);
        result = ps_start_utt(ps);
    });
    decoder->inUtterance = !decoder->failed && result == 0;
    return decoder->inUtterance;
}

bool endUtterance(Decoder *decoder)
{
    if (!decoder->inUtterance) return !decoder->failed;
    decoder->inUtterance = false;
    return tryOn(decoder, [&] { ps_end_utt(decoder->ps); });
}

std::vector<Segment> currentSegments(Decoder *decoder)
{
    std::vector<Segment> segments;
    ps_seg_t *at = nullptr;
    tryOn(decoder, [&] {
        // The first makes the result that the second walks over.
        if (ps_get_hyp(decoder->ps, nullptr)) at = ps_seg_iter(decoder->ps);
    });
    while (at && !decoder->failed) {
        int first = 0;
        int last = 0;
        int32 score = 0;
        ps_seg_frames(at, &first, &last);
        ps_seg_prob(at, &score, nullptr, nullptr);
        const char *name = ps_seg_word(at);
        segments.push_back(
            {wordIndex(name), pronunciationIndex(name), first, last, static_cast<double>(score)});
        at = ps_seg_next(at);
    }
    return segments;
}

} // namespace

void DecoderDelete::operator()(Decoder *decoder) const
{
    // The library keeps the last sequence of phones until the next, but never frees it: an
    // utterance without sound takes its place.
    if (decoder->hasPhones && endUtterance(decoder) &&
        startUtterance(decoder, kPhoneSearch, CMN_NONE) && endUtterance(decoder))
        (void)currentSegments(decoder);
    // A decoder that failed in the middle of something is left to itself: its parts may not fit
    // together.
    // The phone search frees the segments of its last utterance only when it makes new ones: those
    // of an empty utterance are none.
    if (decoder->ps && endUtterance(decoder) && startUtterance(decoder, kPhoneSearch, CMN_NONE) &&
        endUtterance(decoder)) {
        (void)currentSegments(decoder);
    }
    if (decoder->ps && !decoder->failed) ps_free(decoder->ps);
    delete decoder;
}

DecoderHandle decoderOpen(const std::string &acousticModel, const Grammar &grammar, bool borrowed)
{
    decoderMessagesToLog();
    if (!acousticModelUsable(acousticModel)) return nullptr;
    DecoderHandle decoder{new Decoder};
    decoder->borrowed = borrowed;
    if (!makeDecoder(decoder.get(), acousticModel) || !addWords(decoder.get(), grammar) ||
        !addSearches(decoder.get(), grammar))
        return nullptr;
    return decoder;
}

bool decoderStreamStart(Decoder *decoder)
{
    return endUtterance(decoder) && startUtterance(decoder, kGrammarSearch, decoder->normalisation);
}

bool decoderStreamFeed(Decoder *decoder, std::span<const int16_t> samples)
{
    if (!decoder->inUtterance) return false;
    return tryOn(decoder, [&] {
        ps_process_raw(decoder->ps, samples.data(), samples.size(), FALSE, FALSE);
    });
}

std::vector<int32_t> decoderStreamWords(Decoder *decoder)
{
    std::vector<int32_t> words;
    for (const Segment &segment : currentSegments(decoder))
        if (segment.word >= 0) words.push_back(segment.word);
    return words;
}

void decoderStreamEnd(Decoder *decoder)
{
    (void)endUtterance(decoder);
}

bool decoderTake(Decoder *decoder, std::span<const int16_t> samples)
{
    if (!endUtterance(decoder)) return false;
    return tryOn(decoder, [&] {
        decoder->cepstra = cepstraOf(ps_get_fe(decoder->ps), samples);
        if (decoder->borrowed)
            subtractMean(&decoder->cepstra);
        else
            subtractSpeechMean(&decoder->cepstra, decoder->usualMean);
    });
}

bool decoderPass(Decoder *decoder, Search search, std::vector<Segment> *segments)
{
    segments->clear();
    const char *name = search == Search::grammar ? kGrammarSearch : kPhoneSearch;
    if (!endUtterance(decoder) || !startUtterance(decoder, name, CMN_NONE)) return false;
    Cepstra &cepstra = decoder->cepstra;
    std::vector<mfcc_t *> frames;
    for (size_t i = 0; i < cepstra.count(); ++i)
        frames.push_back(cepstra.frame(i).data());
    tryOn(decoder, [&] {
        ps_process_cep(decoder->ps, frames.data(), static_cast<int>(frames.size()), FALSE, TRUE);
    });
    if (!endUtterance(decoder)) return false;
    *segments = currentSegments(decoder);
    return !decoder->failed;
}

} // namespace vantel::ostrel
