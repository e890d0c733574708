// Texts of the C heap, as they cross the C interfaces.
#pragma once

#include <cstdlib>
#include <memory>

namespace vantel
{

struct HeapFree {
    void operator()(void *memory) const { std::free(memory); }
};

// An owned, zero-terminated text that was or can be released with free(); may be empty (null).
using HeapText = std::unique_ptr<char, HeapFree>;

} // namespace vantel
