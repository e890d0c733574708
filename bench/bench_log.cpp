// Prints what a line of the log costs, flushed, and its ratio to spdlog's basic file sink that
// flushes every line, measured in the same run; and what a suppressed line costs.
#include "bench/measure.h"

#include "tools/line_log.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>

namespace
{

using namespace bench;

constexpr int kLines = 20000;
constexpr int kSuppressedLines = 10000000;
constexpr int kFirstNumber = 100000; // all have six digits
constexpr size_t kLineCharacters = 150;

using vantel::LineLog;

// Text that brings a line with this much of a prefix to its full length, the newline included.
std::string filler(size_t prefixCharacters)
{
    return std::string(kLineCharacters - prefixCharacters - 1, 'x');
}

size_t lineLength(const std::string &path)
{
    return std::filesystem::file_size(path) / kLines;
}

Cost perLine(int lines, int64_t wallStart, int64_t cpuStart)
{
    return {static_cast<double>(nowNs() - wallStart) / lines,
            static_cast<double>(cpuNs() - cpuStart) / lines};
}

Cost ownLines(const std::string &path, size_t *characters)
{
    LineLog log;
    vantel::lineLogInit(&log, vantel::kDebug, path.c_str(), 0, 0);
    std::string text = filler(77);
    int64_t wall = nowNs();
    int64_t cpu = cpuNs();
    for (int i = 0; i < kLines; ++i)
        vantel::lineLogPrint(&log, vantel::kInfo, "bench/bench_log", __LINE__, "  %s %s %d\n",
                             "bench", text.c_str(), kFirstNumber + i);
    Cost cost = perLine(kLines, wall, cpu);
    vantel::lineLogRelease(&log);
    *characters = lineLength(path);
    return cost;
}

Cost otherLines(const std::string &path, size_t *characters)
{
    auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(path, true);
    spdlog::logger log{"bench", sink};
    log.flush_on(spdlog::level::trace);
    std::string text = filler(48);
    int64_t wall = nowNs();
    int64_t cpu = cpuNs();
    for (int i = 0; i < kLines; ++i)
        log.info("{} {}", text, kFirstNumber + i);
    Cost cost = perLine(kLines, wall, cpu);
    *characters = lineLength(path);
    return cost;
}

double suppressedLine()
{
    LineLog log;
    log.gate = vantel::kWarning;
    int64_t start = nowNs();
    for (int i = 0; i < kSuppressedLines; ++i) {
        if (vantel::lineLogEnabled(&log, vantel::kDebug))
            vantel::lineLogPrint(&log, vantel::kDebug, "bench/bench_log", __LINE__, "  %d\n", i);
    }
    return static_cast<double>(nowNs() - start) / kSuppressedLines;
}

} // namespace

// usage: bench_log [rounds]
int main(int argc, char **argv)
{
    int rounds = argc > 1 ? std::max(std::atoi(argv[1]), 1) : 15;
    pinToOneProcessor();
    auto folder = std::filesystem::temp_directory_path();
    std::string ownPath = (folder / "bench_log_own.log").string();
    std::string otherPath = (folder / "bench_log_other.log").string();
    std::vector<double> own, other, suppressed;
    size_t ownCharacters = 0;
    size_t otherCharacters = 0;
    for (int round = 0; round < rounds; ++round) {
        own.push_back(ownLines(ownPath, &ownCharacters).cpu);
        other.push_back(otherLines(otherPath, &otherCharacters).cpu);
        suppressed.push_back(suppressedLine());
    }
    double ratio = median(own) / median(other);
    std::printf("a line of the log, flushed   %7.0f ns (%zu characters)\n", median(own),
                ownCharacters);
    std::printf("a line of spdlog, flushed    %7.0f ns (%zu characters)\n", median(other),
                otherCharacters);
    std::printf("ratio                        %7.2f    target <= 0.75: %s\n", ratio,
                ratio <= 0.75 ? "met" : "NOT met");
    std::printf("a suppressed line            %7.2f ns\n", median(suppressed));
    std::filesystem::remove(ownPath);
    std::filesystem::remove(otherPath);
    return 0;
}
