// Nothing may be thrown through a C function.
#pragma once

#include "ostrel/library.h"

#include <exception>

namespace vantel::ostrel
{

// The operation's result; `failure`, with a line in the engine's log, when it throws.
template <typename Result, typename Operation>
Result withoutThrowing(Result failure, Operation operation) noexcept
{
    try {
        return operation();
    } catch (const std::exception &error) {
        ENGINE_LOG("ostrel/no_throw", kError, "  %s\n", error.what());
        return failure;
    }
}

} // namespace vantel::ostrel
