#include "tools/read_file.h"

#include "platform/platform.h"

#include <cstdio>
#include <memory>

namespace vantel
{

bool readFile(const std::string &path, std::string *content, size_t mostBytes)
{
    content->clear();
    if (!platformIsRegularFile(path.c_str())) return false;
    std::unique_ptr<std::FILE, decltype(&std::fclose)> file{platformOpenFile(path.c_str(), "rb"),
                                                            std::fclose};
    if (!file) return false;
    char block[65536];
    while (size_t bytes = std::fread(block, 1, sizeof block, file.get())) {
        content->append(block, bytes);
        if (content->size() > mostBytes) break;
    }
    bool isWhole = content->size() <= mostBytes && std::ferror(file.get()) == 0;
    if (!isWhole) content->clear();
    return isWhole;
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
