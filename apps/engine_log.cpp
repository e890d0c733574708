#include "apps/engine_log.h"

#include "platform/platform.h"
#include "tools/quenda_tool.h"

#include <cstdio>
#include <memory>
#include <string_view>
#include <system_error>

namespace vantel::app
{
namespace
{

constexpr char kInnerFolder[] = "/cache/log";

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

File openFile(const std::string &path, const char *mode)
{
    return File{platformOpenFile(path.c_str(), mode)};
}

int64_t bytesOf(std::FILE *file)
{
    return std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : 0;
}

// "[process:thread]date [E] source#line# message"; level 0 for what is no such line.
LogLine parsedLine(const std::string &line)
{
    const size_t level = line.find(" [");
    const size_t source = level + 5;
    const size_t number = line.find('#', source);
    const size_t end = number == std::string::npos ? number : line.find('#', number + 1);
    if (level == std::string::npos || end == std::string::npos || line[level + 3] != ']')
        return {0, "", ""};
    const size_t message = line.find_first_not_of(' ', end + 1);
    return {line[level + 2], line.substr(source, number - source),
            message == std::string::npos ? "" : line.substr(message)};
}

HeardResult heardResult(const cJSON *result)
{
    HeardResult heard;
    const char *rec = jsonString(result, "rec");
    heard.text = rec ? rec : "";
    if (const cJSON *confidence = jsonMember(result, "conf"))
        heard.confidence = confidence->valuedouble;
    const cJSON *word = nullptr;
    cJSON_ArrayForEach(word, jsonMember(result, "words"))
    {
        const char *spoken = jsonString(word, "text");
        heard.words.push_back(
            {spoken ? spoken : "", jsonInt(word, "begin", 0), jsonInt(word, "end", 0)});
    }
    return heard;
}

std::vector<HeardResult> resultsIn(const std::string &text)
{
    Json root = jsonParse(text.c_str());
    std::vector<HeardResult> results;
    for (const cJSON *result : {jsonObject(root.get(), "grammar"), jsonObject(root.get(), "ngram"),
                                static_cast<const cJSON *>(root.get())})
        if (jsonInt(result, "eof", 0) == 1) results.push_back(heardResult(result));
    return results;
}

} // namespace

LogFolder::~LogFolder()
{
    std::error_code ignored;
    if (!temporary_.empty()) std::filesystem::remove_all(temporary_, ignored);
}

bool LogFolder::use(const std::string &path, bool afresh)
{
    const char *mode = afresh ? "wb" : "ab";
    makeDirs((path + kInnerFolder).c_str());
    path_ = path;
    return openFile(engineLog(), mode) && openFile(libraryLog(), mode);
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

std::string LogFolder::libraryLog() const
{
    return path_ + kInnerFolder + "/vantel.log";
}

LogTail::LogTail(std::string path) : path_(std::move(path))
{
    if (File file = openFile(path_, "rb")) read_ = bytesOf(file.get());
}

std::vector<LogLine> LogTail::newLines()
{
    std::vector<LogLine> lines;
    File file = openFile(path_, "rb");
    if (!file) return lines;
    if (bytesOf(file.get()) < read_) { // it started afresh
        read_ = 0;
        rest_.clear();
    }
    std::fseek(file.get(), static_cast<long>(read_), SEEK_SET);
    char block[65536];
    while (size_t bytes = std::fread(block, 1, sizeof block, file.get())) {
        read_ += static_cast<int64_t>(bytes);
        rest_.append(block, bytes);
        size_t begin = 0;
        for (size_t end; (end = rest_.find('\n', begin)) != std::string::npos; begin = end + 1) {
            LogLine line = parsedLine(rest_.substr(begin, end - begin));
            if (line.level != 0) lines.push_back(std::move(line));
        }
        rest_.erase(0, begin);
    }
    return lines;
}

void showComplaints(LogTail *engineLog, bool warnings)
{
    // The runtime's own remarks, such as on a processor that it does not know, change nothing.
    constexpr std::string_view kRuntime = "onnx";
    for (const LogLine &line : engineLog->newLines()) {
        if (line.level == 'E') std::fprintf(stderr, "%s\n", line.message.c_str());
        if (line.level == 'W' && warnings && !line.source.ends_with(kRuntime))
            std::fprintf(stderr, "vantel: %s\n", line.message.c_str());
    }
}

std::vector<HeardResult> newResults(LogTail *libraryLog)
{
    constexpr std::string_view kMark = "coreAsr result ";
    std::vector<HeardResult> last;
    for (const LogLine &line : libraryLog->newLines()) {
        const size_t mark = line.message.find(kMark);
        if (mark == std::string::npos) continue;
        if (auto results = resultsIn(line.message.substr(mark + kMark.size())); !results.empty())
            last = std::move(results);
    }
    return last;
}

} // namespace vantel::app
