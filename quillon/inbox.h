// A node's queue: any thread adds items, the node's loop takes all of them at once, in order.
//
// One word holds the whole state: the newest item, or that the queue is empty, that the loop sleeps
// on it, or that it is closed for good. So adding an item takes no lock, and only the item that
// finds the loop asleep pays for a wake-up.
#pragma once

#include "platform/signal.h"

#include <atomic>
#include <cstdint>

namespace vantel::quillon
{

enum class ItemKind : uint32_t { message, call };

struct Item {
    Item *next;
    ItemKind kind;
    uint32_t index; // of a message among the deliveries of its publication
};

class Inbox
{
public:
    Inbox() = default;
    ~Inbox() { platformSignalDestroy(signal_); }
    Inbox(const Inbox &) = delete;
    Inbox &operator=(const Inbox &) = delete;

    bool isUsable() const { return signal_ != nullptr; }

    // Adds an item and wakes the loop when it sleeps. False: the inbox is closed, and the item is
    // still the caller's.
    bool push(Item *item);

    // Everything that is queued, oldest first, linked by `next`; null when there is nothing.
    // `count` is the number of items.
    Item *take(uint32_t *count);

    // Makes a sleeping loop look about, say for a new timer.
    void nudge();

    // Refuses items from now on and returns those left, in no order. Null when it was closed.
    Item *close();

    // The loop's way to sleep: announce it, look about once more, then wait. False when there is
    // something to take already, or the inbox is closed.
    bool fallAsleep();
    // Ends with the loop awake. `nanoseconds` as for platformSignalWait.
    void sleep(int64_t nanoseconds);
    void wake();

    // A sleep of which messages take no notice, only calls, nudges and the closing. False when
    // there is something to take already, or the inbox is closed: then the nap ends at once.
    bool lieDown();
    void nap(int64_t nanoseconds);

private:
    // Values of the word that are no item.
    static Item *asleep() { return &states[0]; }
    static Item *closed() { return &states[1]; }
    static Item states[2];

    std::atomic<Item *> head_{nullptr};
    std::atomic<bool> isNapping_{false};
    PlatformSignal signal_ = platformSignalCreate();
};

} // namespace vantel::quillon
