// Calls: one node asks, another one answers, and the asking thread waits.
#pragma once

#include "platform/signal.h"
#include "quillon/inbox.h"
#include "tools/heap_text.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace vantel::quillon
{

struct Node;
struct Call;

// Calls linked by one of their two links.
struct CallList {
    Call *first = nullptr;
};

struct CallLink {
    Call *next = nullptr;
    Call *previous = nullptr;
};

// Held by the caller and by the callee's queue.
struct Call : Item {
    ~Call() { platformSignalDestroy(done); }

    std::atomic<uint32_t> references{1};
    std::string path;
    std::string text;
    bool hasText = false;

    // Whoever sets it first decides the reply, then sets the signal.
    std::atomic<bool> isFinished{false};
    HeapText reply;
    PlatformSignal done = platformSignalCreate();

    // Guarded by the mutex of the calls.
    Node *waiter = nullptr; // the node that cannot answer meanwhile; null once it is deleted
    Node *callee = nullptr; // null once it is deleted
    bool isForeign = false; // made by a thread that runs no node: the waiter's loop goes on
    CallLink amongOutgoing;
    CallLink amongIncoming;
};

// Calls the path and waits; null when nobody answers.
const char *callMake(Node *caller, const char *path, const char *data, uint32_t length);

// Runs the callee's oncall and releases the caller. On the callee's thread; takes over the hold.
void callAnswer(Node *callee, Call *call);

void callRelease(Call *call);

// Gives null to all who wait for the node and to the node itself where it waits, except the call
// that the node is answering on this thread.
void callReleaseWaiting(Node *node);

// Makes the calls that are still linked to the node, which is about to be freed, forget it.
void callForget(Node *node);

} // namespace vantel::quillon
