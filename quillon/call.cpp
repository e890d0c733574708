#include "quillon/call.h"

#include "platform/thread_value.h"
#include "quillon/bus_log.h"
#include "quillon/node.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>

#define CALL_LOG(bus, level, ...) QUILLON_LOG("quillon/call", bus, level, __VA_ARGS__)

namespace vantel::quillon
{
namespace
{

// One for all buses, since a ring of waiting callers may run through several. Held for a few
// pointer changes only.
std::mutex callsMutex;

// A call record is used again unless its text was longer.
constexpr size_t kKeptTextBytes = 4096;

// The reply of each thread's last call. Calls of other threads do not touch it, nor does the end of
// a node.
class Replies
{
public:
    Replies() : isUsable_(platformThreadKeyCreate(&key_, std::free)) {}
    ~Replies()
    {
        if (!isUsable_) return;
        std::free(platformThreadValue(key_));
        platformThreadValueSet(key_, nullptr);
        platformThreadKeyDestroy(key_);
    }
    Replies(const Replies &) = delete;
    Replies &operator=(const Replies &) = delete;

    // In place of the calling thread's last one; false without memory.
    bool keep(HeapText reply)
    {
        if (!isUsable_) return false;
        HeapText last{static_cast<char *>(platformThreadValue(key_))};
        if (!platformThreadValueSet(key_, reply.get())) {
            static_cast<void>(last.release());
            return false;
        }
        static_cast<void>(reply.release());
        return true;
    }

private:
    PlatformThreadKey key_ = 0;
    bool isUsable_;
};

Replies &replies()
{
    static Replies all;
    return all;
}

struct CallDrop {
    void operator()(Call *call) const { callRelease(call); }
};
using CallHold = std::unique_ptr<Call, CallDrop>;

template <CallLink Call::*link> void attach(CallList *list, Call *call)
{
    (call->*link).next = list->first;
    if (list->first) (list->first->*link).previous = call;
    list->first = call;
}

template <CallLink Call::*link> void detach(CallList *list, Call *call)
{
    CallLink &place = call->*link;
    if (place.next) (place.next->*link).previous = place.previous;
    if (place.previous)
        (place.previous->*link).next = place.next;
    else
        list->first = place.next;
    place = {};
}

void finish(Call *call, HeapText reply)
{
    if (call->isFinished.exchange(true, std::memory_order_acq_rel)) return;
    call->reply = std::move(reply);
    platformSignalSet(call->done);
}

// The node part of "/node/verb"; empty when there is none.
std::string_view nodeOfPath(std::string_view path)
{
    if (path.empty() || path[0] != '/') return {};
    return path.substr(1, path.find('/', 1) - 1);
}

// Whether `node` can answer nothing before `target` goes on. A thread from outside blocks the node
// it calls for only while that node has no loop of its own.
bool waitsFor(const Node *node, const Node *target)
{
    if (node == target) return true;
    for (const Call *call = node->outgoing.first; call; call = call->amongOutgoing.next) {
        if (call->isForeign && node->isRunning.load()) continue;
        if (!call->isFinished.load() && call->callee && waitsFor(call->callee, target)) return true;
    }
    return false;
}

// Links the call between the two nodes; gives the reason when it would never be answered.
const char *link(Call *call, const Node *caller, Node *callee)
{
    std::lock_guard locked{callsMutex};
    if (caller->isStopped) return "the caller is stopped";
    if (callee->isStopped) return "the node is stopped";
    if (callee == caller) return "a node cannot call itself";
    bool isBlocked = !call->isForeign || !call->waiter->isRunning;
    if (isBlocked && waitsFor(callee, call->waiter)) return "the node waits for the caller";
    call->callee = callee;
    attach<&Call::amongOutgoing>(&call->waiter->outgoing, call);
    attach<&Call::amongIncoming>(&callee->incoming, call);
    return nullptr;
}

void unlink(Call *call)
{
    detach<&Call::amongOutgoing>(&call->waiter->outgoing, call);
    if (call->callee) detach<&Call::amongIncoming>(&call->callee->incoming, call);
    call->callee = nullptr;
}

Node *findNode(Bus *bus, std::string_view name)
{
    std::lock_guard locked{bus->mutex};
    auto found = bus->nodes.find(name);
    return found == bus->nodes.end() ? nullptr : found->second;
}

// Sends the call on its way; gives the reason when that is not possible. `calleeYields`: the callee
// is about to look for calls and needs no wake-up.
const char *send(Call *call, Node *caller, bool *calleeYields)
{
    std::string_view name = nodeOfPath(call->path);
    if (name.empty()) return "the path names no node";
    // Keeps the callee alive from here until the call is in its queue.
    Grace::Reading reading{caller->bus->grace, caller->slot};
    Node *callee = findNode(caller->bus, name);
    if (!callee) return "there is no such node";
    if (const char *reason = link(call, caller, callee)) return reason;
    *calleeYields = callee->pace.isYielding.load(std::memory_order_relaxed);
    call->references.fetch_add(1, std::memory_order_relaxed);
    // A closed inbox means that the callee was stopped just now, which finishes the call.
    if (!callee->inbox.push(call)) callRelease(call);
    return nullptr;
}

// The caller's last call record if nobody holds it any more, else a new one.
CallHold newCall(Node *caller, const char *path, const char *data, uint32_t length)
{
    CallHold call{caller->spareCall.exchange(nullptr, std::memory_order_acquire)};
    if (!call) call.reset(new Call);
    if (!call->done) return nullptr;
    call->kind = ItemKind::call;
    call->path = path;
    call->hasText = data != nullptr;
    if (data) call->text.assign(data, length);
    call->isFinished.store(false, std::memory_order_relaxed);
    Node *blocked = nodeOfThread();
    call->isForeign = !blocked;
    call->waiter = blocked ? blocked : caller;
    return call;
}

// Keeps the record for the caller's next call. A callee that is still at it will free it instead.
void putBack(Node *caller, CallHold call)
{
    if (call->references.load(std::memory_order_acquire) != 1) return;
    if (call->text.capacity() > kKeptTextBytes) return;
    Call *empty = nullptr;
    if (caller->spareCall.compare_exchange_strong(empty, call.get(), std::memory_order_release))
        static_cast<void>(call.release());
}

} // namespace

const char *callMake(Node *caller, const char *path, const char *data, uint32_t length)
{
    CallHold call = newCall(caller, path, data, length);
    bool calleeYields = false;
    const char *reason = call ? send(call.get(), caller, &calleeYields) : "there is no memory";
    if (reason) {
        CALL_LOG(caller->bus, kWarning, "  %s %s cannot call %s: %s\n", kBusTag,
                 caller->name.c_str(), path, reason);
        return nullptr;
    }
    if (calleeYields) std::this_thread::yield();
    while (!platformSignalWait(call->done, kWaitForever)) {
    }
    {
        std::lock_guard locked{callsMutex};
        if (!call->waiter) return nullptr; // deleted meanwhile
        unlink(call.get());
    }
    const char *reply = call->reply.get();
    if (!replies().keep(std::move(call->reply))) {
        CALL_LOG(caller->bus, kError, "  %s %s has no memory for the reply of %s\n", kBusTag,
                 caller->name.c_str(), path);
        reply = nullptr;
    }
    putBack(caller, std::move(call));
    return reply;
}

void callAnswer(Node *callee, Call *call)
{
    CallHold hold{call};
    if (call->isFinished.load(std::memory_order_acquire)) return;
    HeapText reply;
    if (callee->oncall) {
        callee->answering = call;
        reply.reset(callee->oncall(callee->user, callee, call->path.c_str(),
                                   call->hasText ? call->text.c_str() : nullptr));
        callee->answering = nullptr;
    }
    finish(call, std::move(reply));
}

void callRelease(Call *call)
{
    if (call && call->references.fetch_sub(1, std::memory_order_acq_rel) == 1) delete call;
}

void callReleaseWaiting(Node *node)
{
    const Call *answering = nodeRunsOnThisThread(node) ? node->answering : nullptr;
    std::lock_guard locked{callsMutex};
    for (Call *call = node->outgoing.first; call; call = call->amongOutgoing.next) {
        finish(call, nullptr);
    }
    for (Call *call = node->incoming.first; call; call = call->amongIncoming.next) {
        if (call == answering || call->isFinished) continue;
        CALL_LOG(node->bus, kWarning, "  %s %s stopped before it answered %s\n", kBusTag,
                 node->name.c_str(), call->path.c_str());
        finish(call, nullptr);
    }
}

void callForget(Node *node)
{
    std::lock_guard locked{callsMutex};
    while (Call *call = node->incoming.first) {
        detach<&Call::amongIncoming>(&node->incoming, call);
        call->callee = nullptr;
    }
    while (Call *call = node->outgoing.first) {
        unlink(call);
        call->waiter = nullptr;
    }
}

} // namespace vantel::quillon
