// What the loops of all nodes share: how a node's thread starts, runs and ends.
//
// Every node record has the members `thread`, `bus`, `node`, `running`; the node handle is written
// on the node's own thread before `running` is set, and is constant until the loop is stopped.
#pragma once

#include "contracts/quillon.h"
#include "tools/quenda_mk_thread.h"

#include <span>
#include <string>

namespace vantel
{

// A node as the bus knows it.
struct NodeSpec {
    const char *name;
    std::span<const char *const> topics; // in the order of subscription
    quillon_onmessage onmessage;
    quillon_oncall oncall;
};

// Adds the record's node to the bus with all its topics. Null, logged, when that cannot be had; the
// bus then knows no such node, so that nobody waits for its answers.
void *joinBus(void *bus, const NodeSpec &spec, void *record) noexcept;

// The body of a node's thread. `ready` runs once the node has subscribed and before its loop. False
// when the node could not join the bus: its loop never ran.
template <typename Record, typename Ready>
bool runNodeLoop(Record *record, const NodeSpec &spec, Ready ready)
{
    record->node = joinBus(record->bus, spec, record);
    if (!record->node) return false;
    ready();
    record->running.store(1, std::memory_order_release);
    quillon_node_run(record->node);
    record->running.store(0, std::memory_order_release);
    return true;
}

template <typename Record> bool runNodeLoop(Record *record, const NodeSpec &spec)
{
    return runNodeLoop(record, spec, [] {});
}

// What became of a loop that was to be started.
enum Start : int32_t {
    kStarted = 0,
    kNoThread = -1,
    kNoNode = -2, // it could not join the bus: memory has run out
};

// Starts a node's loop on the thread `threadName` and waits until it runs.
template <typename Record>
int32_t startNodeLoop(Record *record, const char *threadName, ThreadEntry entry)
{
    if (quenda_mk_thread_start(&record->thread, threadName, &record->running, entry, record) != 0)
        return kNoThread;
    if (record->node) return kStarted;
    quenda_mk_thread_join(&record->thread);
    return kNoNode;
}

// Ends a node's loop and takes the node off the bus.
template <typename Record> void stopNodeLoop(Record *record)
{
    quillon_node_stop(record->node);
    quenda_mk_thread_join(&record->thread);
    quillon_node_delete(record->node);
    record->node = nullptr;
}

} // namespace vantel
