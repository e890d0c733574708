// The configuration of the detector node on the first line; on each other one a message to it, a
// "status" of the detector, or "pcm" that it passes on.
#include "src/vad/vad.h"
#include "src/vad/vad_record.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/scripted_engine.h"

using namespace vantel;
using namespace vantel::vad;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    if (lines.empty()) return 0;
    scripted::reset();
    VadRecord *record = vadNew(nullptr, fuzz::harmless(lines[0]).c_str(), nullptr);
    for (size_t i = 1; i < lines.size(); ++i) {
        const fuzz::Message message = fuzz::messageOf(lines[i]);
        const char *payload = message.payload.data();
        if (message.topic == "status" || message.topic == "pcm")
            vadHandler(record, message.topic == "status" ? 0 : 1, payload,
                       static_cast<int32_t>(message.length()));
        else
            kVadNode.onmessage(record, nullptr, message.topic.c_str(), payload, message.length());
        fuzz::require(record->speech.length <= record->speech.capacity &&
                      record->silence.length <= record->silence.capacity &&
                      record->voice.length <= record->voice.capacity);
    }
    _vadDelete(record);
    return 0;
}
