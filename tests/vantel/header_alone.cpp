#include "vantel/vantel.h"

static_assert(VANTEL_TYPE_PCM == 102 && VANTEL_EVENT_WAKEUP == 1002 &&
              VANTEL_EVENT_NO_OUTPUT == 1044 && VANTEL_ERROR_PARAMS == -6899);

// The header also declares its functions for C++, with C linkage.
extern "C" int32_t (*const vantelHeaderAlone)(void *, const char *) = vantelInputText;
