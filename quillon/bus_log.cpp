#include "quillon/bus_log.h"

#include <map>
#include <mutex>
#include <string>

namespace vantel::quillon
{
namespace
{

struct LogFile {
    LineLog log;
    uint32_t users = 0;
};

// Two logs on one file would each write where it believes the end to be.
struct LogFiles {
    std::mutex mutex;
    std::map<std::string, LogFile, std::less<>> byPath; // guarded by the mutex
};

// Never destroyed: a bus may be deleted as late as the process ends.
LogFiles &logFiles()
{
    static auto &files = *new LogFiles;
    return files;
}

} // namespace

void busLogOpen(BusLog *log, const BusLogSettings &settings)
{
    if (!settings.path || !*settings.path || settings.level >= kLogNothing) return;
    LogFiles &files = logFiles();
    std::lock_guard locked{files.mutex};
    auto place = files.byPath.try_emplace(settings.path).first;
    LogFile &file = place->second;
    if (file.users == 0) {
        file.log.isFileOnly = true;
        file.log.isOneLineEach = true;
        lineLogInit(&file.log, kVerbose, settings.path, settings.mode, settings.sizeMb);
        if (!file.log.stream) {
            lineLogRelease(&file.log);
            files.byPath.erase(place);
            return;
        }
    }
    ++file.users;
    log->lowest = settings.level;
    log->file = &file.log;
}

BusLog::~BusLog()
{
    if (!file) return;
    LogFiles &files = logFiles();
    std::lock_guard locked{files.mutex};
    for (auto place = files.byPath.begin(); place != files.byPath.end(); ++place) {
        if (&place->second.log != file) continue;
        if (--place->second.users == 0) {
            lineLogRelease(file);
            files.byPath.erase(place);
        }
        return;
    }
}

} // namespace vantel::quillon
