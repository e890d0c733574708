// The log call of the exported functions.
#pragma once

#include "tools/log.h"

#define API_LOG(level, ...) VANTEL_LOG("src/vantel/vantel", level, __VA_ARGS__)

namespace vantel
{

constexpr char kApiTag[] = "vantel";

} // namespace vantel
