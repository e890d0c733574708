#include "apps/engine_log.h"

#include "platform/platform.h"
#include "tools/quenda_tool.h"
#include "tools/read_file.h"

#include <cstdio>
#include <sstream>
#include <system_error>

namespace vantel::app
{
namespace
{

constexpr char kInnerFolder[] = "/cache/log";

bool isWritable(const std::string &path)
{
    std::FILE *file = platformOpenFile(path.c_str(), "ab");
    return file && std::fclose(file) == 0;
}

} // namespace

LogFolder::~LogFolder()
{
    std::error_code ignored;
    if (!temporary_.empty()) std::filesystem::remove_all(temporary_, ignored);
}

bool LogFolder::use(const std::string &path)
{
    makeDirs((path + kInnerFolder).c_str());
    path_ = path;
    return isWritable(engineLog());
}

bool LogFolder::useTemporary()
{
    std::error_code failure;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(failure);
    if (failure) return false;
    char id[kUuidBytes];
    quendaGetUUID(id, "vantel-tool");
    temporary_ = folder / ("vantel-" + std::string{id});
    return use(temporary_.generic_string());
}

std::string LogFolder::engineLog() const
{
    return path_ + kInnerFolder + "/ostrel.log";
}

void LogFolder::showErrors() const
{
    std::string content;
    if (temporary_.empty() || !readFile(engineLog(), &content)) return;
    std::istringstream log{content};
    for (std::string line; std::getline(log, line);) {
        // The message stands behind its line's header, which two '#' close.
        const size_t source = line.find('#');
        const size_t level = line.find(" [E] ");
        if (source == std::string::npos || level > source) continue;
        const size_t message = line.find_first_not_of(' ', line.find('#', source + 1) + 1);
        if (message != std::string::npos) std::fprintf(stderr, "%s\n", line.c_str() + message);
    }
}

} // namespace vantel::app
