// The instance that a host's handle points to, and the way in which its nodes reach the host.
#pragma once

#include "include/vantel/vantel.h"
#include "src/node/audio_queue.h"
#include "src/node/usage.h"
#include "tools/heap_text.h"

#include <atomic>
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

// Parts without which an instance cannot do all it is there for.
enum Part : uint32_t { kProcessorPart = 1, kDmsPart = 2, kVadPart = 4 };

// Constant once the constructing function has filled it, except by vantelDelete. The order of the
// first two members is part of the binary interface.
struct Instance {
    void *bus = nullptr; // null: inert, every operation is refused
    NodeTable *nodes = nullptr;
    HostCallback callback = nullptr; // null: nothing is delivered
    void *user = nullptr;
    bool isConfigurationJson = false; // what the nodes are given was printed by vantelNew
    // Any thread.
    std::atomic<uint32_t> missingParts{0}; // of Part: could not be started
    Usage usage{};                         // by the operations
    AudioQueue audio{};
};

// Whether anything is delivered for the node of this record.
template <typename Record> bool hasHost(const Record *record)
{
    return record->instance && record->instance->callback;
}

// Calls the host callback, which must be set, and returns its answer.
HeapText deliver(const Instance *instance, const void *data, uint32_t length, int32_t type,
                 int32_t event);

// Whether the calling thread is inside the host callback of this instance.
bool isInsideCallback(const Instance *instance);

} // namespace vantel
