// Publishing texts: lengths are counted without the terminating zero.
#pragma once

#include "contracts/quillon.h"

#include <cstdint>
#include <cstring>

namespace vantel
{

inline uint32_t textLength(const char *text)
{
    return text ? static_cast<uint32_t>(std::strlen(text)) : 0;
}

// A null text is published as an empty payload.
inline int32_t publishText(void *node, const char *topic, const char *text)
{
    return quillon_publish(node, topic, text, textLength(text));
}

} // namespace vantel
