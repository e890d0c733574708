#include "ostrel/transcriber.h"

namespace vantel::ostrel
{

struct Transcriber {
};

// Placeholder until the model lands: nothing can be opened.
std::shared_ptr<const Transcriber> transcriberOpen()
{
    return nullptr;
}

bool transcribe(const Transcriber &, const int16_t *, size_t, Transcript *)
{
    return false;
}

std::string transcriptWords(const std::string &text)
{
    return text;
}

void transcriberRelease() {}

} // namespace vantel::ostrel
