// Dictionaries: what is in front of the first blank of each line is looked up again.
#include "ostrel/words/dictionary.h"
#include "tests/fuzz/fuzz.h"

using namespace vantel::ostrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::shared_ptr<const Dictionary> dictionary = dictionaryOpen(fuzz::fileOf(data, size));
    for (const std::string &line : fuzz::linesOf(data, dictionary ? size : 0)) {
        Pronunciations found;
        std::string unknown;
        if (!dictionaryLookUp(*dictionary, line.substr(0, line.find_first_of(" \t\r")), &found))
            continue;
        for (const Pronunciation &each : found)
            fuzz::require(dictionaryHasPhones(*dictionary, each.phones, &unknown));
    }
    dictionariesRelease();
    return 0;
}
