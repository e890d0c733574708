#include "quillon/loop.h"

#include "quillon/bus_log.h"
#include "quillon/node.h"
#include "quillon/publication.h"

#include <algorithm>
#include <thread>

#define LOOP_LOG(bus, level, ...) QUILLON_LOG("quillon/loop", bus, level, __VA_ARGS__)

namespace vantel::quillon
{
namespace
{

// Items; a queue of this length, and each further doubling, is logged.
constexpr uint32_t kHighWater = 1024;

// A loop that has nothing to do twice within this time was woken for next to nothing.
constexpr int64_t kShortNs = 20000;

// How long messages gather in a nap, and how many of them make the next one worth while.
constexpr int64_t kNapNs = 50000;
constexpr uint32_t kWorthANap = 4;

void releaseItem(Item *item)
{
    switch (item->kind) {
    case ItemKind::message:
        return publicationRelease(publicationOf(item));
    case ItemKind::call:
        return callRelease(static_cast<Call *>(item));
    }
}

void handleItem(Node *node, Item *item)
{
    switch (item->kind) {
    case ItemKind::message: {
        Publication *publication = publicationOf(item);
        if (node->onmessage) {
            node->onmessage(node->user, node, publication->topic->name.c_str(), publication->data,
                            publication->length);
        }
        return publicationRelease(publication);
    }
    case ItemKind::call:
        return callAnswer(node, static_cast<Call *>(item));
    }
}

// A timer that is set again from its callback is due later than `now`, so this comes to an end.
void runDueTimers(Node *node)
{
    if (node->timers.isEmpty()) return;
    int64_t now = busNowNs(node->bus);
    Timer timer;
    while (!node->isStopped && node->timers.takeDue(now, &timer))
        timer.callback(timer.user, node, timer.tag);
}

// How long the loop may sleep before its next timer; rounded up to the bus's clicks, so that timers
// close to each other share a wake-up. Asked once the rest is announced: whoever sets a timer or
// moves the clock on before that finds nobody to wake.
int64_t untilTimerNs(const Node *node)
{
    if (node->timers.isEmpty()) return kWaitForever;
    int64_t earliest = node->timers.earliestNs();
    if (earliest == Timers::kNever) return kWaitForever;
    int64_t now = busNowNs(node->bus);
    int64_t click = node->bus->clickNs;
    if (click > 0 && earliest > now) earliest = (earliest + click - 1) / click * click;
    return std::max<int64_t>(earliest - now, 0);
}

void sleep(Node *node)
{
    if (!node->inbox.fallAsleep()) return;
    int64_t nanoseconds = untilTimerNs(node);
    if (nanoseconds == 0)
        node->inbox.wake();
    else
        node->inbox.sleep(nanoseconds);
}

void nap(Node *node)
{
    int64_t nanoseconds = node->inbox.lieDown() ? untilTimerNs(node) : 0;
    if (nanoseconds < 0 || nanoseconds > kNapNs) nanoseconds = kNapNs;
    node->inbox.nap(nanoseconds);
}

void yield(Node *node)
{
    node->pace.isYielding.store(true, std::memory_order_relaxed);
    std::this_thread::yield();
    node->pace.isYielding.store(false, std::memory_order_relaxed);
}

void rest(Node *node)
{
    Pace &pace = node->pace;
    int64_t now = busNowNs(node->bus);
    bool isShort = now - pace.restedAtNs < kShortNs;
    pace.restedAtNs = now;
    // A yield lets everybody run; when that takes long it is the wrong way to rest.
    if (pace.rest == Rest::yield && !isShort) pace.rest = Rest::sleep;
    pace.hasRested = pace.rest != Rest::sleep;
    switch (pace.rest) {
    case Rest::sleep:
        pace.shortRests = isShort ? pace.shortRests + 1 : 0;
        if (pace.shortRests >= pace.shortRestsToTry)
            pace.rest = pace.isCalled ? Rest::yield : Rest::nap;
        return sleep(node);
    case Rest::nap:
        return nap(node);
    case Rest::yield:
        return yield(node);
    }
}

// After a nap or a yield: whether it has brought enough for another one.
void judgeRest(Pace *pace, uint32_t count)
{
    pace->hasRested = false;
    if (count >= (pace->rest == Rest::nap ? kWorthANap : 1)) {
        pace->shortRestsToTry = Pace::kFewShortRests;
        return;
    }
    pace->rest = Rest::sleep;
    pace->shortRests = 0;
    pace->shortRestsToTry = std::min(pace->shortRestsToTry * 2, Pace::kManyShortRests);
}

void noteLength(Node *node, uint32_t count)
{
    if (count < std::max(kHighWater, node->highWater)) return;
    node->highWater = count * 2;
    LOOP_LOG(node->bus, kWarning, "  %s queue of %s grew to %u\n", kBusTag, node->name.c_str(),
             count);
}

// Timers come first: whoever moves the clock on and then calls the node finds them expired.
void handleItems(Node *node, Item *item)
{
    for (Item *next; item; item = next) {
        runDueTimers(node);
        if (node->isStopped) break;
        next = item->next;
        node->pace.isCalled = item->kind == ItemKind::call;
        handleItem(node, item);
    }
    loopRelease(item);
}

} // namespace

void loopRun(Node *node)
{
    while (!node->isStopped) {
        uint32_t count = 0;
        Item *items = node->inbox.take(&count);
        if (node->pace.hasRested) judgeRest(&node->pace, count);
        if (items) {
            noteLength(node, count);
            handleItems(node, items);
        } else {
            runDueTimers(node);
            if (!node->isStopped) rest(node);
        }
    }
}

void loopRelease(Item *items)
{
    while (items) {
        Item *next = items->next;
        releaseItem(items);
        items = next;
    }
}

} // namespace vantel::quillon
