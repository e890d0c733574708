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

// Topic names need no escaping.
inline std::string topicsJson(std::span<const char *const> topics)
{
    std::string json = "[";
    for (const char *topic : topics) {
        if (json.size() > 1) json += ',';
        json += '"';
        json += topic;
        json += '"';
    }
    return json + "]";
}

// The body of a node's thread. `ready` runs once the node has subscribed and before its loop.
template <typename Record, typename Ready>
void runNodeLoop(Record *record, const NodeSpec &spec, Ready ready)
{
    record->node = quillon_node_new(record->bus, spec.name, spec.onmessage, spec.oncall, record);
    quillon_node_subscribe(record->node, topicsJson(spec.topics).c_str());
    ready();
    record->running.store(1, std::memory_order_release);
    quillon_node_run(record->node);
    record->running.store(0, std::memory_order_release);
}

template <typename Record> void runNodeLoop(Record *record, const NodeSpec &spec)
{
    runNodeLoop(record, spec, [] {});
}

// Starts a record's loop on the thread `threadName` and waits until it runs: 0, or -1 when there is
// no thread.
template <typename Record>
int32_t startLoop(Record *record, const char *threadName, ThreadEntry entry)
{
    return quenda_mk_thread_start(&record->thread, threadName, &record->running, entry, record);
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
