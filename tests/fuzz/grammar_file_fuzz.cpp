// Compiled grammars.
#include "ostrel/grammar/grammar.h"
#include "tests/fuzz/fuzz.h"

using namespace vantel::ostrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::shared_ptr<const Grammar> grammar = grammarLoad(fuzz::fileOf(data, size));
    // Every word on a way can be spoken.
    fuzz::require(!grammar || grammar->pronunciations.size() == grammar->tree.words.size());
    return 0;
}
