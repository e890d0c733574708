#include "tools/read_file.h"

#include "platform/platform.h"

#include <cstdio>
#include <memory>

namespace vantel
{

bool readFile(const std::string &path, std::string *content)
{
    std::unique_ptr<std::FILE, decltype(&std::fclose)> file{platformOpenFile(path.c_str(), "rb"),
                                                            std::fclose};
    if (!file) return false;
    content->clear();
    char block[65536];
    while (size_t bytes = std::fread(block, 1, sizeof block, file.get()))
        content->append(block, bytes);
    return std::ferror(file.get()) == 0;
}

} // namespace vantel
