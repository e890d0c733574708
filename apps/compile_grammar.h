// Grammars as the engine takes them.
#pragma once

#include "tools/json.h"

#include <cstdint>

namespace vantel::app
{

// Compiles the grammar of the configuration's member "gram": 0, or the engine's code; its log has
// what is wrong. The engine is loaded.
int32_t compileGrammar(const cJSON *configuration);

} // namespace vantel::app
