// The configuration text of a node, copied and parsed for its record.
#include "src/node/node_configuration.h"

#include "tools/quenda_tool.h"

#include <new>

namespace vantel
{

Json takeConfiguration(const Instance *instance, const char *text, HeapText *copy)
{
    *copy = dupString(text);
    Json parsed = jsonParse(text);
    bool shouldParse = text && instance && instance->isConfigurationJson;
    if ((text && !*copy) || (shouldParse && !parsed)) throw std::bad_alloc{};
    return parsed;
}

} // namespace vantel
