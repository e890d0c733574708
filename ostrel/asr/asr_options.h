// What a recogniser is told: at its creation and at each start.
#pragma once

#include "tools/json.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vantel::ostrel
{

// conf = 1 / (1 + exp(-(all * A + words * W + agreement + offset))), where A and W say how much
// better the grammar fits than any sequence of phones: logarithms for each frame of 10 ms, A over
// the whole utterance, W over its words only. The agreement counts when the transcriber heard the
// same words.
struct ConfidenceScale {
    double all;
    double words;
    double agreement;
    double offset;
};

// Fitted with bench/accuracy on its recordings, clean and at 20 dB, without and with a transcript;
// the offsets were then lowered, by 0.6 and 0.2, to accept less other speech.
constexpr ConfidenceScale kScaleAlone = {0.2205, 0.1086, 0, 3.937};
constexpr ConfidenceScale kScaleWithTranscript = {0.1988, 0.0917, 2.6087, 3.3};

// For Chinese words over the model of another language. Found by logistic regression with weights
// that are not negative, on half of the commands and other speech of bench/mandarin.sh and tried on
// the other half; the offset then leaves about one in twenty of other speech. A weight below zero,
// as plain regression finds it, rewards words that fit badly.
constexpr ConfidenceScale kScaleChinese = {0.12, 0.18, 0, 5.4};

enum class NgramSource {
    whenPresent, // the transcriber, when its model is there
    transcriber, // the transcriber, or no recogniser
    none,
};

// The first recogniser that suits.
constexpr const char *kAnyEngine = "auto";

struct AsrOptions {
    std::string grammarName;         // empty: the default one, when there is one
    std::string grammarFile;         // before the name
    std::string engine = kAnyEngine; // a name of grammar_search.cpp
    std::string acousticModel;       // of "fsg"; empty: the one that comes along
    std::string streamingModel;      // of "streaming"; empty: the same
    NgramSource ngram = NgramSource::whenPresent;
    bool partials = true;
    bool earlyEnd = false;   // an utterance ends itself when what was heard is a whole sentence
    bool continuous = false; // one utterance after the other is found in audio without end
    int32_t limitMs = 60000; // of one utterance
    std::optional<ConfidenceScale> scale; // in place of the scales above
    bool verify = false;  // Chinese commands, by a model of the language, where the scale is unsure
    bool showFit = false; // the final result tells A and W, for who finds the scale of a new model
};

// False, with the reason in the engine's log, when the text is no JSON object or "ngram" is none of
// its values. For the keys see docs/engine.md.
bool readAsrOptions(const char *configuration, AsrOptions *options);

struct StartOptions {
    bool grammar = true; // use_xbnf_rec
    bool ngram = true;   // use_ngram
    bool pinyin = true;  // use_pinyin
};

// Reads {"env": "name=value;..."}; a value may be enclosed in double quotes, behind a backslash or
// not. A switch is off for 0, false, no and off. What is not there, not known or not JSON leaves
// the default.
StartOptions readStartOptions(const char *startText);

} // namespace vantel::ostrel
