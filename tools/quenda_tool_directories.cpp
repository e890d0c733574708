#include "tools/quenda_tool.h"

#include "platform/platform.h"

#include <cstring>

namespace vantel
{
namespace
{

constexpr size_t kPathBytes = 512;

} // namespace

int32_t makeDirs(const char *path)
{
    if (!path) return -1;
    if (platformPathExists(path)) return 0;
    const size_t length = std::strlen(path);
    if (length == 0 || length >= kPathBytes) return -1;
    char work[kPathBytes];
    std::memcpy(work, path, length + 1);

    int32_t last = -1;
    for (char *at = work; *at; ++at) {
        if (*at != '/') continue;
        *at = '\0';
        if (!platformPathExists(work)) last = platformMakeDirectory(work);
        *at = '/';
    }
    return platformPathExists(path) ? last : platformMakeDirectory(path);
}

} // namespace vantel
