// Paths for libraries that open files through the C library with narrow texts.
#pragma once

#include <string>

namespace vantel
{

// The path, which is UTF-8 and there, in the encoding that fopen takes; empty when it has no such
// form.
std::string platformNarrowPath(const std::string &path);

} // namespace vantel
