// How a node takes the configuration that its constructor is given.
#pragma once

#include "src/node/instance.h"
#include "tools/json.h"

namespace vantel
{

// A node's configuration, parsed, and the copy that its record keeps: empty for a text that is null
// or not JSON. std::bad_alloc without memory, with which an instance's own text would seem to be
// none.
Json takeConfiguration(const Instance *instance, const char *text, HeapText *copy);

} // namespace vantel
