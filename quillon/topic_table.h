// The topics that somebody has subscribed to, each with its subscribers.
#pragma once

#include "quillon/grace.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace vantel::quillon
{

struct Node;

// A place is null once its node was deleted; nodes are added by replacing the whole list.
struct Subscribers {
    explicit Subscribers(size_t placeCount) : places(placeCount) {}
    std::vector<std::atomic<Node *>> places;
};

// Lives as long as its bus, because queued messages refer to its name.
struct Topic {
    Topic(const std::string &topicName, uint64_t nameHash) : name(topicName), hash(nameHash) {}

    std::string name;
    uint64_t hash;
    std::atomic<Subscribers *> subscribers{nullptr}; // owned; null: nobody
};

class Topics
{
public:
    explicit Topics(Grace *grace);
    ~Topics();
    Topics(const Topics &) = delete;
    Topics &operator=(const Topics &) = delete;

    // Null when nobody has ever subscribed to it. Only inside a Grace::Reading, and so is the
    // topic's list of subscribers.
    const Topic *find(std::string_view name) const;

    // Adds the node to every topic, once each: all, or none when memory runs out (std::bad_alloc).
    void subscribe(Node *node, const std::vector<std::string> &names);

    // Takes the node off all lists; needs no memory. Publishers may still see it until the next
    // grace period ends.
    void unsubscribeAll(const Node *node);

private:
    // A power of two of slots, at most half of them used.
    struct Table {
        explicit Table(size_t slotCount) : slots(slotCount), mask(slotCount - 1) {}
        std::vector<std::atomic<Topic *>> slots;
        size_t mask;
    };

    // Taken out of use; freed, unless empty, after a grace period.
    struct Retired;

    Topic *intern(const std::string &name, Retired *retired);
    void grow(Retired *retired);
    static void insert(Table *table, Topic *topic);

    Grace *grace_;
    std::atomic<Table *> table_;
    // Guards all changes; readers do without.
    std::mutex mutex_;
    std::vector<std::unique_ptr<Topic>> topics_;
};

} // namespace vantel::quillon
