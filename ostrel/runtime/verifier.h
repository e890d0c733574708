// Whether an utterance says a given text: a multilingual model is made to write the text, and how
// likely it finds each token tells how well the text fits what was said.
//
// The model is loaded once per process, at the first use, and shared; it stays until the library is
// released and nobody holds it any more.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace vantel::ostrel
{

struct Verifier;

// Null, with the reason in the engine's log, when the model or its runtime cannot be had. Loading
// takes about half a second and 150 MB, once.
std::shared_ptr<const Verifier> verifierOpen();

// *score is the mean natural logarithm of the probabilities of the text's tokens and of its end: 0
// when the model itself would have written just that, -4 when it finds nothing of it. The text is
// in the language of the model's prompt, Chinese in simplified characters, with no blanks. Blocks
// for half a second whatever the length; what is beyond 30 seconds is not heard. Any number of
// threads may use one verifier at once. False when the model fails; the reason is in the log.
bool verify(const Verifier &verifier, const int16_t *samples, size_t count, const std::string &text,
            double *score);

// Lets the shared model go; handles that hold it keep it.
void verifierRelease();

} // namespace vantel::ostrel
