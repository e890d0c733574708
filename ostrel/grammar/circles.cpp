#include "ostrel/grammar/circles.h"

#include <algorithm>

namespace vantel::ostrel
{
namespace
{

struct Visit {
    size_t node;
    size_t edge; // the next one to follow
};

struct Search {
    const Successors *successors;
    std::vector<int32_t> order;  // in which the nodes were found; -1: not yet
    std::vector<int32_t> lowest; // the first found node that is known to be in the same circle
    std::vector<int32_t> circles;
    std::vector<size_t> unassigned;
    std::vector<Visit> visits;
    int32_t found = 0;
};

void enter(Search *search, size_t node)
{
    search->order[node] = search->lowest[node] = search->found++;
    search->unassigned.push_back(node);
    search->visits.push_back({node, 0});
}

void leave(Search *search, size_t node)
{
    search->visits.pop_back();
    if (!search->visits.empty()) {
        int32_t &lowest = search->lowest[search->visits.back().node];
        lowest = std::min(lowest, search->lowest[node]);
    }
    if (search->lowest[node] != search->order[node]) return;
    while (search->circles[node] < 0) {
        search->circles[search->unassigned.back()] = search->order[node];
        search->unassigned.pop_back();
    }
}

} // namespace

std::vector<int32_t> circlesOf(const Successors &successors)
{
    const size_t count = successors.size();
    const std::vector<int32_t> unknown(count, -1);
    Search search{&successors, unknown, unknown, unknown, {}, {}, 0};
    for (size_t root = 0; root < count; ++root) {
        if (search.order[root] < 0) enter(&search, root);
        while (!search.visits.empty()) {
            auto &[node, edge] = search.visits.back();
            if (edge == successors[node].size()) {
                leave(&search, node);
                continue;
            }
            const auto to = static_cast<size_t>(successors[node][edge++]);
            if (search.order[to] < 0)
                enter(&search, to);
            else if (search.circles[to] < 0)
                search.lowest[node] = std::min(search.lowest[node], search.order[to]);
        }
    }
    return std::move(search.circles);
}

} // namespace vantel::ostrel
