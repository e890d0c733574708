#include "src/vad/vad.h"

namespace vantel
{

VadRecord *vadNew(void *, const char *, Instance *) { return nullptr; }
int32_t vadStart(VadRecord *) { return -1; }
int32_t vadStop(VadRecord *) { return 0; }
int32_t _vadDelete(VadRecord *) { return 0; }

} // namespace vantel
