#include "platform/narrow_path.h"

namespace vantel
{

std::string platformNarrowPath(const std::string &path)
{
    return path;
}

} // namespace vantel
