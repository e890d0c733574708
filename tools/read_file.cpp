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

bool writeFile(const std::string &path, const char *text)
{
    std::unique_ptr<std::FILE, decltype(&std::fclose)> file{platformOpenFile(path.c_str(), "wb"),
                                                            std::fclose};
    const bool written = text && file && std::fputs(text, file.get()) >= 0;
    // What is still in the buffer meets a full disk only now.
    return file && std::fclose(file.release()) == 0 && written;
}

} // namespace vantel
