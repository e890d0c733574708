// The topics that somebody has subscribed to, each with its subscribers.
#pragma once

#include "quillon/grace.h"
#include "tools/thread_safety.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vantel::quillon
{

struct Node;

// A place is null once its node was deleted; nodes are added by replacing the whole list.
struct Subscribers {
    explicit Subscribers(size_t placeCount) : places(placeCount) {}
    std::vector<std::atomic<Node *>> places;
};

// Lives until the last node that has subscribed to it is freed, because queued messages refer to
// its name.
struct Topic {
    Topic(std::string topicName, uint64_t nameHash) : name(std::move(topicName)), hash(nameHash) {}
    ~Topic() { delete subscribers.load(std::memory_order_relaxed); }
    Topic(const Topic &) = delete;
    Topic &operator=(const Topic &) = delete;

    const std::string name;
    const uint64_t hash;
    std::atomic<Subscribers *> subscribers{nullptr}; // owned; null: nobody

    // Guarded by the mutex of the topics.
    uint32_t holders = 0;  // nodes that have subscribed and are not freed yet
    size_t index = 0;      // among all topics
    Topic *next = nullptr; // of those that are about to be freed
};

class Topics
{
public:
    explicit Topics(Grace *grace);
    ~Topics();
    Topics(const Topics &) = delete;
    Topics &operator=(const Topics &) = delete;

    // Null when nobody subscribes to it. Only inside a Grace::Reading, and so is the
    // topic's list of subscribers.
    const Topic *find(std::string_view name) const;

    // Adds the node to every topic, once each: all, or none when memory runs out (std::bad_alloc).
    void subscribe(Node *node, const std::vector<std::string> &names);

    // Takes the node off all lists; needs no memory. Publishers may still see it until the next
    // grace period ends.
    void unsubscribeAll(const Node *node);

    // Frees the topics that had no other subscriber than the node, whose loop has ended and which
    // no publisher sees any more. Needs no memory; waits for a grace period when there are any.
    void forget(Node *node);

private:
    // A power of two of slots, at most half of them used.
    struct Table {
        explicit Table(size_t slotCount) : slots(slotCount), mask(slotCount - 1) {}
        std::vector<std::atomic<Topic *>> slots;
        size_t mask;
        size_t used = 0; // slots with a topic, or with one that is gone
    };

    // Takes the place of a topic that was removed, so that those behind it are still found. No
    // topic that is looked up has its name, a zero byte.
    static Topic gone;

    // Taken out of use; freed, unless empty, after a grace period.
    struct Retired;

    Topic *intern(const std::string &name, Retired *retired) REQUIRES(mutex_);
    void rebuild(Retired *retired) REQUIRES(mutex_);
    void remove(Topic *topic) REQUIRES(mutex_);
    static void insert(Table *table, Topic *topic);

    Grace *grace_;
    std::atomic<Table *> table_;
    // Guards all changes; readers do without.
    Mutex mutex_;
    std::vector<std::unique_ptr<Topic>> topics_ GUARDED_BY(mutex_);
};

} // namespace vantel::quillon
