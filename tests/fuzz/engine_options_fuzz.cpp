// The recogniser's configuration on the first line, the text of a start on the second.
#include "ostrel/asr/asr_options.h"
#include "tests/fuzz/fuzz.h"

using namespace vantel::ostrel;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    AsrOptions options;
    if (!lines.empty()) (void)readAsrOptions(lines[0].c_str(), &options);
    if (lines.size() > 1) (void)readStartOptions(lines[1].c_str());
    return 0;
}
