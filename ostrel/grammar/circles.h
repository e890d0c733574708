// Circles in a graph.
#pragma once

#include <cstdint>
#include <vector>

namespace vantel::ostrel
{

using Successors = std::vector<std::vector<int32_t>>; // by node

// By node: a number that nodes have in common from which each leads to the other. Takes time in
// proportion to the edges. Tarjan, Depth-first search and linear graph algorithms, 1972.
std::vector<int32_t> circlesOf(const Successors &successors);

} // namespace vantel::ostrel
