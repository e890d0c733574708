// A node: its queue, its timers, and the loop that runs its callbacks.
#pragma once

#include "contracts/quillon.h"
#include "quillon/bus.h"
#include "quillon/call.h"
#include "quillon/inbox.h"
#include "quillon/loop.h"
#include "quillon/timers.h"

#include <atomic>
#include <string>
#include <vector>

namespace vantel::quillon
{

struct Node {
    ~Node() { callRelease(spareCall); }

    // Constant once the node is made.
    Bus *bus = nullptr; // held
    std::string name;
    quillon_onmessage onmessage = nullptr;
    quillon_oncall oncall = nullptr;
    void *user = nullptr;
    Grace::Slot *slot = nullptr;
    BlockPool *pool = nullptr;

    Inbox inbox;
    Timers timers;
    std::atomic<bool> isStopped{false}; // set before the inbox is closed; for good

    // Written by the loop's thread under the bus's mutex.
    std::atomic<bool> isRunning{false};

    // Touched by the loop's thread only.
    Node *outer = nullptr;     // the node whose callback runs this loop
    Call *answering = nullptr; // the call whose oncall is running
    bool isOrphan = false;     // deleted from inside its own callback: freed by the loop
    Pace pace;
    uint32_t highWater = 0; // items in the longest queue that was logged

    std::vector<Topic *> subscriptions; // guarded by the mutex of the topics

    std::atomic<Call *> spareCall{nullptr}; // owned; a record for the node's next call

    // Guarded by the mutex of the calls (quillon/call.cpp).
    CallList outgoing; // calls that block this node
    CallList incoming; // calls that wait for this node's answer
};

// Null, and a line in the bus's log, when the name is refused.
Node *nodeNew(Bus *bus, const char *name, quillon_onmessage onmessage, quillon_oncall oncall,
              void *user);

// 0 after a stop; -1 at once when the node's loop runs already.
int32_t nodeRun(Node *node);

// Ends the loop after the callback that is running, frees what is queued and releases everybody
// who waits for the node, or for whom it waits. Sticky.
void nodeStop(Node *node);

// Stops the node, waits until its loop has returned, and frees it. From inside one of the node's
// own callbacks the loop frees it when it returns.
void nodeDelete(Node *node);

int32_t nodeSubscribe(Node *node, const char *topicsJsonArray);

// The node whose loop runs on this thread; null outside of all loops.
Node *nodeOfThread();
bool nodeRunsOnThisThread(const Node *node);

} // namespace vantel::quillon
