// Result texts of the recogniser. The first byte chooses the record's settings, the rest is the
// text.
#include "src/dms/dms_record.h"
#include "tests/fuzz/fuzz.h"

using namespace vantel;
using namespace vantel::dms;

namespace
{

// What is published has to be JSON that the receivers can read.
void expectJson(const char *text)
{
    fuzz::require(jsonParse(text) != nullptr);
}

void checkReading(const DmsRecord &record, const char *text)
{
    Json parsed = jsonParse(text);
    Json output{cJSON_CreateObject()};
    HeapText decision;
    const int32_t result =
        parseAsrResult(&record, parsed.get(), output.get(), &decision, "grammar");
    expectJson(jsonPrint(output.get()).get());
    if (decision) expectJson(decision.get());
    fuzz::require(result == 0 || (!decision && !output->child));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0) return 0;
    DmsRecord record; // on no bus: what it publishes is refused
    if (data[0] & 1) record.subsets = "c,bc,abc";
    record.retryTimes = data[0] & 2 ? 1 : 0;
    record.asrConfidence = data[0] & 4 ? 0.55F : 0.0F;

    // A block of exactly the text's size, so that a read beyond it is seen.
    const std::vector<uint8_t> exact(data + 1, data + size);
    asrHandler(&record, 0, exact.data(), static_cast<int32_t>(exact.size()));
    checkReading(record, std::string(exact.begin(), exact.end()).c_str());
    return 0;
}
