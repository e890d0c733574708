// Where the logs of a run go, and what the speech engine complains of in its own.
#pragma once

#include <filesystem>
#include <string>

namespace vantel::app
{

// A folder in which the library and its engine write their logs.
class LogFolder
{
public:
    LogFolder() = default;
    ~LogFolder(); // a temporary folder goes with its files; nobody writes to them any more
    LogFolder(const LogFolder &) = delete;
    LogFolder &operator=(const LogFolder &) = delete;

    // False when nothing can be written there.
    bool use(const std::string &path);
    bool useTemporary();

    const std::string &path() const { return path_; } // empty: no folder
    std::string engineLog() const;

    // Writes the errors in the engine's log to standard error, a message a line. Of a temporary
    // folder only: another is there to be read, and may hold those of earlier runs.
    void showErrors() const;

private:
    std::string path_;
    std::filesystem::path temporary_; // empty when the folder was given
};

} // namespace vantel::app
