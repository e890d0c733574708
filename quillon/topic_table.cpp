#include "quillon/topic_table.h"

#include "quillon/node.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vantel::quillon
{
namespace
{

constexpr size_t kFirstSlots = 64;

uint64_t mix(uint64_t hash, uint64_t word)
{
    hash = (hash ^ word) * 0x9e3779b97f4a7c15U;
    return hash ^ (hash >> 29);
}

// Eight bytes a step: topics are looked up for every publication.
uint64_t hashText(std::string_view text)
{
    uint64_t hash = text.size();
    const char *at = text.data();
    size_t left = text.size();
    for (; left >= sizeof(uint64_t); left -= sizeof(uint64_t), at += sizeof(uint64_t)) {
        uint64_t word;
        std::memcpy(&word, at, sizeof word);
        hash = mix(hash, word);
    }
    uint64_t rest = 0;
    std::memcpy(&rest, at, left);
    return mix(hash, rest);
}

bool contains(const Subscribers *list, const Node *node)
{
    return list && std::any_of(list->places.begin(), list->places.end(),
                               [node](const auto &place) { return place.load() == node; });
}

// A copy without deleted nodes and with one more.
std::unique_ptr<Subscribers> extended(const Subscribers *old, Node *node)
{
    std::vector<Node *> nodes;
    for (size_t i = 0; old && i < old->places.size(); ++i) {
        if (Node *present = old->places[i].load()) nodes.push_back(present);
    }
    nodes.push_back(node);
    auto list = std::make_unique<Subscribers>(nodes.size());
    std::copy(nodes.begin(), nodes.end(), list->places.begin());
    return list;
}

} // namespace

struct Topics::Retired {
    Grace *grace;
    std::vector<std::unique_ptr<Table>> tables;
    std::vector<std::unique_ptr<Subscribers>> lists;

    ~Retired()
    {
        if (!tables.empty() || !lists.empty()) grace->wait();
    }
};

Topics::Topics(Grace *grace) : grace_(grace), table_(new Table(kFirstSlots)) {}

Topics::~Topics()
{
    delete table_.load(std::memory_order_relaxed);
}

Topic Topics::gone{std::string(1, '\0'), 0};

const Topic *Topics::find(std::string_view name) const
{
    const Table *table = table_.load(std::memory_order_seq_cst);
    uint64_t hash = hashText(name);
    for (size_t slot = hash & table->mask;; slot = (slot + 1) & table->mask) {
        const Topic *topic = table->slots[slot].load(std::memory_order_acquire);
        if (!topic || (topic->hash == hash && topic->name == name)) return topic;
    }
}

void Topics::insert(Table *table, Topic *topic)
{
    size_t slot = topic->hash & table->mask;
    while (table->slots[slot].load(std::memory_order_relaxed))
        slot = (slot + 1) & table->mask;
    table->slots[slot].store(topic, std::memory_order_release);
    ++table->used;
}

// A table with room for all topics and as many again, and without those that are gone.
void Topics::rebuild(Retired *retired)
{
    retired->tables.reserve(retired->tables.size() + 1);
    auto table =
        std::make_unique<Table>(std::max(kFirstSlots, std::bit_ceil((topics_.size() + 1) * 4)));
    for (const auto &topic : topics_)
        insert(table.get(), topic.get());
    retired->tables.emplace_back(table_.exchange(table.release(), std::memory_order_seq_cst));
}

Topic *Topics::intern(const std::string &name, Retired *retired)
{
    if (const Topic *known = find(name)) return const_cast<Topic *>(known);
    const Table *table = table_.load(std::memory_order_relaxed);
    if ((table->used + 1) * 2 > table->slots.size()) rebuild(retired);
    topics_.push_back(std::make_unique<Topic>(name, hashText(name)));
    topics_.back()->index = topics_.size() - 1;
    insert(table_.load(std::memory_order_relaxed), topics_.back().get());
    return topics_.back().get();
}

// It is the caller's then; publishers may still see it until the next grace period ends.
void Topics::remove(Topic *topic)
{
    Table *table = table_.load(std::memory_order_relaxed);
    size_t slot = topic->hash & table->mask;
    while (table->slots[slot].load(std::memory_order_relaxed) != topic)
        slot = (slot + 1) & table->mask;
    table->slots[slot].store(&gone, std::memory_order_release);
    std::unique_ptr<Topic> &place = topics_[topic->index];
    static_cast<void>(place.release());
    if (topic->index + 1 < topics_.size()) {
        place = std::move(topics_.back());
        place->index = topic->index;
    }
    topics_.pop_back();
}

void Topics::subscribe(Node *node, const std::vector<std::string> &names)
{
    Retired retired{grace_, {}, {}}; // waits and frees after the mutex is unlocked
    MutexLock locked{mutex_};
    // Everything that can fail comes before the first list changes.
    std::vector<std::pair<Topic *, std::unique_ptr<Subscribers>>> changes;
    for (const std::string &name : names) {
        Topic *topic = intern(name, &retired);
        auto isThisTopic = [topic](const auto &change) { return change.first == topic; };
        if (std::any_of(changes.begin(), changes.end(), isThisTopic)) continue;
        const Subscribers *old = topic->subscribers.load(std::memory_order_relaxed);
        if (!contains(old, node)) changes.emplace_back(topic, extended(old, node));
    }
    retired.lists.reserve(changes.size());
    node->subscriptions.reserve(node->subscriptions.size() + changes.size());
    for (auto &[topic, list] : changes) {
        retired.lists.emplace_back(topic->subscribers.exchange(list.release()));
        node->subscriptions.push_back(topic);
        ++topic->holders;
    }
}

void Topics::unsubscribeAll(const Node *node)
{
    MutexLock locked{mutex_};
    for (const Topic *topic : node->subscriptions) {
        for (auto &place : topic->subscribers.load(std::memory_order_relaxed)->places) {
            if (place.load(std::memory_order_relaxed) == node) place.store(nullptr);
        }
    }
}

void Topics::forget(Node *node)
{
    Topic *unused = nullptr;
    {
        MutexLock locked{mutex_};
        for (Topic *topic : node->subscriptions) {
            if (--topic->holders > 0) continue;
            remove(topic);
            topic->next = std::exchange(unused, topic);
        }
        node->subscriptions.clear();
    }
    if (unused) grace_->wait();
    while (unused)
        delete std::exchange(unused, unused->next);
}

} // namespace vantel::quillon
