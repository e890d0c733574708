// Sound files of the tool.
#include "apps/audio_source.h"
#include "tests/fuzz/fuzz.h"

using namespace vantel::app;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string error;
    const std::unique_ptr<AudioSource> source = openAudioFile(fuzz::fileOf(data, size), &error);
    fuzz::require(source || !error.empty());
    // A header may promise hours of sound; some chunks show enough of it.
    constexpr int kMaxChunks = 100;
    for (int i = 0; source && i < kMaxChunks && !source->read().empty(); ++i) {
    }
    return 0;
}
