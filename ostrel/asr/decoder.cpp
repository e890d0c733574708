#include "ostrel/asr/decoder.h"

#include "ostrel/asr/cepstra.h"
#include "ostrel/asr/decoder_guard.h"
#include "ostrel/library.h"
#include "ostrel/model_files.h"

#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <pocketsphinx.h>
#include <sphinxbase/ckd_alloc.h>
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
    bool failed = false; // the library gave up inside a call; nothing of it is touched any more
};

namespace
{

constexpr const char *kGrammarSearch = "grammar";
constexpr const char *kPhoneSearch = "phones";

// The decoder knows words by their number, "w12", so that any text can be a word of a grammar.
// Further pronunciations, "w12_1", are words of their own to it: it would look for the base word of
// each in the whole grammar.
std::string decoderWord(size_t index, size_t pronunciation)
{
    std::string name = "w" + std::to_string(index);
    return pronunciation == 0 ? name : name + "_" + std::to_string(pronunciation);
}

int32_t wordIndex(const char *decoderName)
{
    if (!decoderName || decoderName[0] != 'w') return -1;
    return std::atoi(decoderName + 1);
}

int32_t pronunciationIndex(const char *decoderName)
{
    const char *number = decoderName ? std::strchr(decoderName, '_') : nullptr;
    return number ? std::atoi(number + 1) : 0;
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

// The pronunciations of all words, as the search numbers them.
struct Vocabulary {
    std::vector<std::string> names;
    std::vector<int32_t> first; // by word, its first one's number; one more at the end
};

Vocabulary vocabularyOf(const Grammar &grammar)
{
    Vocabulary vocabulary;
    for (size_t i = 0; i < grammar.pronunciations.size(); ++i) {
        vocabulary.first.push_back(static_cast<int32_t>(vocabulary.names.size()));
        for (size_t n = 0; n < grammar.pronunciations[i].size(); ++n)
            vocabulary.names.push_back(decoderWord(i, n));
    }
    vocabulary.first.push_back(static_cast<int32_t>(vocabulary.names.size()));
    return vocabulary;
}

// Gives the model all names at once: its own way of adding one compares it with every other.
void addNames(fsg_model_t *model, const Vocabulary &vocabulary)
{
    const size_t count = vocabulary.names.size();
    model->vocab = static_cast<char **>(ckd_realloc(model->vocab, (count + 1) * sizeof(char *)));
    for (size_t i = 0; i < count; ++i)
        model->vocab[i] = ckd_salloc(vocabulary.names[i].c_str());
    model->n_word = model->n_word_alloc = static_cast<int32>(count);
}

// The decoder compares each arc with all others between the same two states: where there are many,
// as in a long list of words, further states in front of the second share them.
Network spreadArcs(const Network &network)
{
    constexpr int32_t kMaxSide = 500; // arcs side by side
    struct Side {
        int32_t arcs = 0;
        int32_t to = 0;
    };
    Network result = network;
    std::map<std::pair<int32_t, int32_t>, Side> sides;
    std::multimap<int32_t, Arc> empty; // by where they begin
    for (const Arc &arc : network.arcs)
        if (arc.word == kNoWord) empty.emplace(arc.from, arc);
    for (size_t i = 0; i < network.arcs.size(); ++i) {
        const Arc &arc = network.arcs[i];
        if (arc.word == kNoWord) continue;
        Side &side = sides[{arc.from, arc.to}];
        if (side.arcs++ % kMaxSide == 0) {
            side.to = side.arcs == 1 ? arc.to : result.states++;
            if (side.arcs > 1) {
                result.arcs.push_back({side.to, arc.to, kNoWord, 0});
                auto [begin, end] = empty.equal_range(arc.to);
                for (auto on = begin; on != end; ++on)
                    result.arcs.push_back({side.to, on->second.to, kNoWord, on->second.logProb});
            }
        }
        result.arcs[i].to = side.to;
    }
    return result;
}

void addArcs(ps_decoder_t *ps, fsg_model_t *model, const Network &network,
             const std::vector<int32_t> &numbers)
{
    logmath_t *logmath = ps_get_logmath(ps);
    double weight = cmd_ln_float_r(ps_get_config(ps), "-lw");
    for (const Arc &arc : network.arcs) {
        auto logProb = static_cast<int32>(logmath_ln_to_log(logmath, arc.logProb) * weight);
        if (arc.word == kNoWord) {
            fsg_model_null_trans_add(model, arc.from, arc.to, logProb);
            continue;
        }
        const auto word = static_cast<size_t>(arc.word);
        for (int32_t number = numbers[word]; number < numbers[word + 1]; ++number)
            fsg_model_trans_add(model, arc.from, arc.to, logProb, number);
    }
}

// The two searches; the decoder runs one of them at a time.
bool addSearches(Decoder *decoder, const Grammar &grammar)
{
    int result = -1;
    const Network network = spreadArcs(grammar.network);
    const Vocabulary vocabulary = vocabularyOf(grammar);
    tryOn(decoder, [&] {
        ps_decoder_t *ps = decoder->ps;
        auto weight = static_cast<float32>(cmd_ln_float_r(ps_get_config(ps), "-lw"));
        fsg_model_t *model =
            fsg_model_init(kGrammarSearch, ps_get_logmath(ps), weight, network.states);
        model->start_state = network.start;
        model->final_state = network.final;
        addNames(model, vocabulary);
        addArcs(ps, model, network, vocabulary.first);
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
    // The phone search frees the segments of its last utterance only when it makes new ones: those
    // of an empty utterance are none.
    if (decoder->ps && endUtterance(decoder) && startUtterance(decoder, kPhoneSearch, CMN_NONE) &&
        endUtterance(decoder)) {
        (void)currentSegments(decoder);
    }
    // A decoder that failed in the middle of something is left to itself: its parts may not fit
    // together.
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
