// The configuration of the local dialog on the first line; on each other one a message to it, or a
// "result" of the recogniser.
#include "src/dms/dms.h"
#include "src/dms/dms_record.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/scripted_engine.h"

using namespace vantel;
using namespace vantel::dms;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::vector<std::string> lines = fuzz::linesOf(data, size);
    if (lines.empty()) return 0;
    scripted::reset();
    DmsRecord *record = dmsNew(nullptr, fuzz::harmless(lines[0]).c_str(), nullptr);
    for (size_t i = 1; i < lines.size(); ++i) {
        const fuzz::Message message = fuzz::messageOf(lines[i]);
        const char *payload = message.payload.data();
        std::free(kDmsNode.oncall(record, nullptr, "/localDms/start", payload));
        if (message.topic == "result")
            asrHandler(record, 0, payload, static_cast<int32_t>(message.length()));
        else
            kDmsNode.onmessage(record, nullptr, message.topic.c_str(), payload, message.length());
    }
    ldmExit(record);
    _dmsDelete(record);
    return 0;
}
