// The models that the voice activity detectors of the process share.
#pragma once

#include <cstdint>

namespace vantel::ostrel
{

// Loads what is there: 0, or a LibraryError when a file is there but broken. What is missing is
// logged and no error.
int32_t vadModelsLoad();
void vadModelsRelease();

} // namespace vantel::ostrel
