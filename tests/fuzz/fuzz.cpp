#include "tests/fuzz/fuzz.h"

#include "tests/support/folder.h"

#include <cstdio>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>

namespace fuzz
{
std::vector<std::string> linesOf(const uint8_t *data, size_t size)
{
    std::istringstream stream{std::string{reinterpret_cast<const char *>(data), size}};
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::string harmless(std::string configuration)
{
    for (char &c : configuration)
        if (c == '/') c = '_';
    // An escaped slash would be one as well.
    for (size_t at = 0; (at = configuration.find("\\u002", at)) != std::string::npos;)
        configuration.replace(at, 5, "\\u003");
    return configuration;
}

std::string fileOf(const uint8_t *data, size_t size)
{
    static const int file = memfd_create("input", 0);
    require(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
    return "/proc/self/fd/" + std::to_string(file);
}

Message messageOf(const std::string &line)
{
    const size_t end = std::min(line.find(' '), line.size());
    const size_t begin = std::min(end + 1, line.size());
    Message message{line.substr(0, end),
                    {line.begin() + static_cast<std::ptrdiff_t>(begin), line.end()}};
    message.payload.push_back('\0');
    return message;
}

} // namespace fuzz

// Seeds and dictionary need not be named on the command line, and what is written without a path
// goes to a folder that does not stay.
extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments)
{
    static char dictionary[] = "-dict=" FUZZ_DICTIONARY;
    static char corpus[] = FUZZ_CORPUS;
    static char seeds[] = FUZZ_SEEDS;
    static std::vector<char *> all(*arguments, *arguments + *count);
    static Folder folder;
    bool hasInput = false;
    for (size_t i = 1; i < all.size(); ++i)
        hasInput = hasInput || all[i][0] != '-';
    // Where findings go is told as seen from the folder of now.
    constexpr std::string_view kPrefix = "-artifact_prefix=";
    static std::string prefix;
    for (char *&argument : all) {
        if (!std::string_view{argument}.starts_with(kPrefix)) continue;
        prefix = argument;
        if (prefix[kPrefix.size()] != '/')
            prefix.insert(kPrefix.size(), std::filesystem::current_path().string() + "/");
        argument = prefix.data();
    }
    if (!hasInput) all.insert(all.end(), {dictionary, corpus, seeds});
    *count = static_cast<int>(all.size());
    all.push_back(nullptr);
    *arguments = all.data();
    fuzz::require(hasInput || chdir(folder.path().c_str()) == 0);
    fuzz::require(std::freopen("/dev/null", "w", stdout) != nullptr);
    return 0;
}
