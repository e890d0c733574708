// The agent's record, for its own files.
#pragma once

#include "src/node/instance.h"
#include "tools/heap_text.h"
#include "tools/log.h"
#include "tools/quenda_mk_thread.h"

#include <atomic>
#include <cstdint>

#define AGENT_LOG(level, ...) VANTEL_LOG("src/agent/agent", level, __VA_ARGS__)

namespace vantel
{

constexpr char kAgentTag[] = "ZQ-localAgent";

// Which devices the configuration leaves to the host, and which engines it turns on.
enum DeviceFlags : uint32_t {
    kRecorderExternal = 1, // the host feeds the microphone audio
    kCnttsExternal = 2,    // speech output is made outside the library
    kPlayerExternal = 4,   // the host plays audio itself
    kExtendspEnabled = 8,
    kFaceEnabled = 16,
    kCameraExternal = 32, // the host feeds camera images
};

struct AgentRecord {
    ThreadRecord thread; // first: the record is handed to the thread operations
    void *bus = nullptr;
    // Written on the agent's thread before `running` is set; read by the host's threads.
    void *node = nullptr;
    // Constant after construction, so that the host's threads need no lock.
    Instance *instance = nullptr;
    std::atomic<int32_t> running{0};
    HeapText configuration;      // empty when there was none
    uint32_t devices = 0;        // of DeviceFlags
    int64_t audioLimitBytes = 0; // audio that may wait for the detector's node
};

inline bool hasAny(const AgentRecord *agent, uint32_t flags)
{
    return (agent->devices & flags) != 0;
}

inline bool hasAll(const AgentRecord *agent, uint32_t flags)
{
    return (agent->devices & flags) == flags;
}

} // namespace vantel
