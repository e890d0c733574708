#include "src/processor/processor.h"

namespace vantel
{

ProcessorRecord *processorNew(void *, const char *, Instance *) { return nullptr; }
int32_t processorStart(ProcessorRecord *) { return -1; }
int32_t processorStop(ProcessorRecord *) { return 0; }
int32_t processorDelete(ProcessorRecord *) { return 0; }

} // namespace vantel
