// The configuration of the processor on the first line, a message on each other one.
#include "src/processor/processor.h"
#include "src/processor/processorRecord.h"
#include "tests/fuzz/fuzz.h"

#include <cstring>

using namespace vantel;
using namespace vantel::processor;

namespace
{

// The host answers what it was told.
char *onEvent(void *, const void *data, uint32_t length, int32_t, int32_t)
{
    return strndup(static_cast<const char *>(data ? data : ""), data ? length : 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    if (lines.empty()) return 0;
    Instance instance;
    instance.callback = onEvent;
    ProcessorRecord *record = processorNew(nullptr, fuzz::harmless(lines[0]).c_str(), &instance);
    for (size_t i = 1; i < lines.size(); ++i) {
        const fuzz::Message message = fuzz::messageOf(lines[i]);
        kProcessorNode.onmessage(record, nullptr, message.topic.c_str(), message.payload.data(),
                                 message.length());
    }
    processorDelete(record);
    return 0;
}
