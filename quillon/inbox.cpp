#include "quillon/inbox.h"

namespace vantel::quillon
{

Item Inbox::states[2];

bool Inbox::push(Item *item)
{
    // Once it is queued the item may be gone at any moment.
    bool isCall = item->kind == ItemKind::call;
    Item *head = head_.load(std::memory_order_relaxed);
    do {
        if (head == closed()) return false;
        item->next = head == asleep() ? nullptr : head;
    } while (!head_.compare_exchange_weak(head, item, std::memory_order_seq_cst,
                                          std::memory_order_relaxed));
    if (head == asleep() || (isCall && isNapping_)) platformSignalSet(signal_);
    return true;
}

Item *Inbox::take(uint32_t *count)
{
    *count = 0;
    Item *head = head_.load(std::memory_order_relaxed);
    do {
        if (!head || head == closed()) return nullptr;
    } while (!head_.compare_exchange_weak(head, nullptr, std::memory_order_acquire,
                                          std::memory_order_relaxed));
    // The newest is on top; handling starts with the oldest.
    Item *oldestFirst = nullptr;
    while (head) {
        Item *older = head->next;
        head->next = oldestFirst;
        oldestFirst = head;
        head = older;
        ++*count;
    }
    return oldestFirst;
}

void Inbox::nudge()
{
    Item *expected = asleep();
    const bool wasAsleep =
        head_.load(std::memory_order_seq_cst) == expected &&
        head_.compare_exchange_strong(expected, nullptr, std::memory_order_seq_cst);
    if (wasAsleep || isNapping_) platformSignalSet(signal_);
}

Item *Inbox::close()
{
    Item *head = head_.exchange(closed(), std::memory_order_seq_cst);
    if (head == asleep() || isNapping_) platformSignalSet(signal_);
    return head == asleep() || head == closed() ? nullptr : head;
}

bool Inbox::fallAsleep()
{
    Item *expected = nullptr;
    return head_.compare_exchange_strong(expected, asleep(), std::memory_order_seq_cst);
}

void Inbox::sleep(int64_t nanoseconds)
{
    platformSignalWait(signal_, nanoseconds);
    wake();
}

void Inbox::wake()
{
    Item *expected = asleep();
    head_.compare_exchange_strong(expected, nullptr, std::memory_order_seq_cst);
}

// Whoever adds a call looks for a nap after that, and here it is the other way round, so one of the
// two sees the other.
bool Inbox::lieDown()
{
    isNapping_ = true;
    return head_.load(std::memory_order_seq_cst) == nullptr;
}

void Inbox::nap(int64_t nanoseconds)
{
    if (nanoseconds > 0) platformSignalWait(signal_, nanoseconds);
    isNapping_ = false;
}

} // namespace vantel::quillon
