// Publishing: one copy of the payload, one queue entry for each subscriber, no lock.
#pragma once

#include <cstdint>

namespace vantel::quillon
{

struct Node;

// 0, also when nobody has subscribed; -1 when there is no memory.
int32_t publish(Node *publisher, const char *topic, const void *data, uint32_t length);

} // namespace vantel::quillon
