// Free speech to text over a whole utterance.
//
// transcriptWords of ostrel/runtime/transcript_text.h makes plain words of its texts.
//
// The model is loaded once per process, at the first use, and shared; it stays until the library is
// released and nobody holds it any more.
#pragma once

#include "ostrel/runtime/transcript_text.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vantel::ostrel
{

struct Transcriber;

struct Transcript {
    std::string text;  // UTF-8 with capitals, punctuation and digits; empty when nothing was heard
    double confidence; // mean probability of the tokens, 0 to 1: a weak measure
    double noise;      // how sure the model is, 0 to 1, that there is no speech at all
};

// Whether model and runtime are there to be loaded; else a line in the log says what is missing.
bool transcriberIsThere();

// Null, with the reason in the engine's log, when the model or its runtime cannot be had. Loading
// takes about half a second and 110 MB, once.
std::shared_ptr<const Transcriber> transcriberOpen();

// Blocks for about a twentieth of the audio's length. Any number of threads may use one transcriber
// at once. False when the model fails; the reason is in the log.
bool transcribe(const Transcriber &transcriber, const int16_t *samples, size_t count,
                Transcript *transcript);

// Lets the shared model go; handles that hold it keep it.
void transcriberRelease();

} // namespace vantel::ostrel
