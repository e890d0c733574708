#include "contracts/ostrel.h"
#include "ostrel/vad_models.h"

namespace vantel::ostrel
{

int32_t vadModelsLoad()
{
    return 0;
}

void vadModelsRelease() {}

} // namespace vantel::ostrel

// Placeholder until the detector lands.
void *ostrel_vad_new(const char *, ostrel_callback, void *)
{
    return nullptr;
}
int32_t ostrel_vad_start(void *, const char *)
{
    return -1;
}
int32_t ostrel_vad_feed(void *, const void *, int32_t)
{
    return -1;
}
int32_t ostrel_vad_stop(void *)
{
    return -1;
}
int32_t ostrel_vad_delete(void *)
{
    return -1;
}
