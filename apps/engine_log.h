// Where the logs of a run go, and what the tool learns from them that reaches no event: what the
// speech engine complains of, and what the recogniser heard before its result was dropped.
#pragma once

#include "apps/events.h"

#include <filesystem>
#include <string>
#include <vector>

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

    // Logs that are not to start afresh go on where earlier ones ended. False when nothing can be
    // written there.
    bool use(const std::string &path, bool afresh = true);
    bool useTemporary();

    const std::string &path() const { return path_; } // empty: no folder
    bool isTemporary() const { return !temporary_.empty(); }
    std::string engineLog() const;
    std::string libraryLog() const;

private:
    std::string path_;
    std::filesystem::path temporary_; // empty when the folder was given
};

struct LogLine {
    char level; // 'V', 'D', 'I', 'W' or 'E'
    std::string source;
    std::string message;
};

// Reads what is written to a log after the tail was made.
class LogTail
{
public:
    explicit LogTail(std::string path);
    std::vector<LogLine> newLines();

private:
    std::string path_;
    int64_t read_ = 0; // bytes
    std::string rest_; // of a line that is still being written
};

// Writes the messages that the user must know to standard error: errors, and with `warnings` what
// the engine has to do without.
void showComplaints(LogTail *engineLog, bool warnings);

// A final result as the recogniser gave it, before its confidence was looked at.
struct HeardResult {
    std::string text;
    double confidence = 0;
    std::vector<WordTime> words;
};

// What the recogniser gave last since the last call, from the library's log: the grammar's result,
// then the one of free speech. Empty when there was no final result.
std::vector<HeardResult> newResults(LogTail *libraryLog);

} // namespace vantel::app
