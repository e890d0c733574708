// What a node hears. One table, in the order of subscription, gives both the topics that the node
// subscribes and the handler of a message.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace vantel
{

enum class Subscribed : uint8_t { yes, no };

// `Payload` is what the node's handlers take of a message.
template <typename Record, typename Payload> struct Route {
    const char *topic;
    void (*handle)(Record *record, Payload payload); // null: there is nothing to be done here
    Subscribed subscribed = Subscribed::yes;
};

// The table `routes` as NodeSpec takes it.
template <const auto &routes>
constexpr auto kSubscriptions = [] {
    constexpr auto isSubscribed = [](const auto &route) {
        return route.subscribed == Subscribed::yes;
    };
    std::array<const char *, std::ranges::count_if(routes, isSubscribed)> topics{};
    size_t next = 0;
    for (const auto &route : routes) {
        if (isSubscribed(route)) topics[next++] = route.topic;
    }
    return topics;
}();

constexpr auto kTopicOf = [](const auto &route) { return std::string_view{route.topic}; };

template <const auto &routes>
constexpr auto kSortedRoutes = [] {
    auto sorted = std::to_array(routes);
    std::ranges::sort(sorted, {}, kTopicOf);
    return sorted;
}();

// The handler of the topic, which may be null; null when the table does not have it.
template <const auto &routes> auto handlerOf(const char *topic) -> decltype(routes[0].handle)
{
    const auto &sorted = kSortedRoutes<routes>;
    if (!topic) return nullptr;
    auto found = std::ranges::lower_bound(sorted, std::string_view{topic}, {}, kTopicOf);
    return found != sorted.end() && kTopicOf(*found) == topic ? found->handle : nullptr;
}

} // namespace vantel
