#include "src/dms/dms.h"

namespace vantel
{

DmsRecord *dmsNew(void *, const char *, Instance *) { return nullptr; }
int32_t dmsStart(DmsRecord *) { return -1; }
int32_t dmsStop(DmsRecord *) { return 0; }
int32_t _dmsDelete(DmsRecord *) { return 0; }

int32_t ldmExit(DmsRecord *) { return 0; }

} // namespace vantel
