// The configuration of the process on the first line, that of an instance on the others.
#include "include/vantel/vantel.h"
#include "tests/fuzz/fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string text = fuzz::harmless({reinterpret_cast<const char *>(data), size});
    const size_t end = std::min(text.find('\n'), text.size());
    vantelInit(text.substr(0, end).c_str());
    void *handle = vantelNew(text.substr(std::min(end + 1, text.size())).c_str(), nullptr, nullptr);
    if (handle) vantelStartDialog(handle);
    fuzz::require(vantelDelete(handle) == 0);
    vantelRelease();
    return 0;
}
