// The instance that a host's handle points to, and the way in which its nodes reach the host.
#pragma once

#include "include/vantel/vantel.h"
#include "tools/heap_text.h"

#include <cstdint>

namespace vantel::processor
{
struct ProcessorRecord;
}
namespace vantel::vad
{
struct VadRecord;
}
namespace vantel::dms
{
struct DmsRecord;
}

namespace vantel
{

struct ServerRunner;
struct AgentRecord;

// Slots are null until filled; a part that could not be made leaves its slot null.
struct NodeTable {
    ServerRunner *server = nullptr;
    AgentRecord *agent = nullptr;
    processor::ProcessorRecord *processor = nullptr;
    vad::VadRecord *vad = nullptr;
    dms::DmsRecord *dms = nullptr;
};

// Constant once the constructing function has filled it, except by vantelDelete. The order of the
// first two members is part of the binary interface.
struct Instance {
    void *bus = nullptr; // null: inert, every operation is refused
    NodeTable *nodes = nullptr;
    HostCallback callback = nullptr; // null: nothing is delivered
    void *user = nullptr;
};

// Whether anything is delivered for the node of this record.
template <typename Record> bool hasHost(const Record *record)
{
    return record->instance && record->instance->callback;
}

// Calls the host callback, which must be set, and returns its answer.
inline HeapText deliver(const Instance *instance, const void *data, uint32_t length, int32_t type,
                        int32_t event)
{
    return HeapText{instance->callback(instance->user, data, length, type, event)};
}

} // namespace vantel
