// What becomes of whole turns when their audio comes in chunks of other lengths: statuses that were
// refused because their audio was not kept, turns that ended as if nobody had spoken, and how far
// the signal-to-noise ratio lies from the one at 10 ms. Prints a table for each detector and mode.
//
//   turn_chunks RECORDING...   16 kHz samples with (.wav) or without a header, one utterance each
#include "bench/samples.h"
#include "include/vantel/vantel.h"
#include "tests/turns/turn_host.h"
#include "tools/json.h"
#include "tools/read_file.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <sstream>

using namespace turns;

namespace
{

constexpr size_t kBytesPerMs = 32;
constexpr size_t kChunksMs[] = {1, 10, 20, 40, 100, 200, 400, 1000, 2000};

struct Mode {
    const char *name;
    const char *keys; // of the instance's configuration
    const char *vadKeys;
    const char *reply;
    int utterances; // of each recording, one behind the other
    bool isLate;    // speech begins after the node's timer has expired
};

constexpr char kGoesOn[] = R"({"dm":{"shouldEndSession":false}})";
constexpr char kDuplex[] = R"("fullDuplex":"true",)";
constexpr Mode kModes[] = {
    {"half duplex", "", "", "", 1, false},
    {"late speech", "", "", "", 1, true},
    {"full duplex", kDuplex, R"("fullMode":1,)", kGoesOn, 2, false},
};

struct Tally {
    int turns = 0;
    int refusedBegins = 0;
    int refusedEnds = 0;
    int noVoice = 0;     // reports of -7395
    int otherErrors = 0; // turns that ended with another report
    int ratios = 0;
    double sum = 0;
    double furthest = 0; // dB from the ratio at 10 ms
};

std::string readAudio(const std::string &path)
{
    std::string audio;
    if (!vantel::readFile(path, &audio)) return {};
    return path.ends_with(".wav") ? audio.substr(std::min<size_t>(44, audio.size())) : audio;
}

// Faint noise, so that the background has a level.
std::string quiet(int milliseconds)
{
    const auto level = bench::whiteNoise(static_cast<size_t>(milliseconds) * kBytesPerMs / 2, 1);
    std::string bytes;
    for (double sample : level) {
        const int16_t value = bench::clipped(8 * sample);
        bytes.append(reinterpret_cast<const char *>(&value), sizeof value);
    }
    return bytes;
}

// Refusals stand in the log behind the status that they are of.
void countRefusals(const std::string &log, Tally *tally)
{
    std::istringstream lines{log};
    bool isEnd = false;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("coreVad result ") != line.npos)
            isEnd = line.find("\"status\":2") != line.npos;
        if (line.find("offset inaccuracy") != line.npos)
            ++(isEnd ? tally->refusedEnds : tally->refusedBegins);
    }
}

std::vector<double> turn(const Mode &mode, const std::string &engine, const std::string &audio,
                         size_t chunkBytes, Tally *tally)
{
    Host host{std::string{"{"} + mode.keys +
                  R"("recorder":{"mode":"external"},"dmTimeOut":600000,"vad":{"pauseTime":500,)" +
                  mode.vadKeys + R"("engine":")" + engine + "\"}}",
              mode.reply};
    host.startDialog();
    host.feed(quiet(2000), chunkBytes);
    if (mode.isLate) host.advance(10000);
    for (int i = 0; i < mode.utterances; ++i)
        host.feed(audio + quiet(4500), chunkBytes);
    for (const std::string &text : host.told(kError)) {
        const vantel::Json report = vantel::jsonParse(text.c_str());
        ++(vantel::jsonInt(report.get(), "errId", 0) == -7395 ? tally->noVoice
                                                              : tally->otherErrors);
    }
    return ratios(host);
}

Tally measure(const Mode &mode, const std::string &engine, const std::vector<std::string> &audios,
              size_t chunkMs, const std::string &folder, std::vector<std::vector<double>> *atTenMs)
{
    Tally tally;
    vantelInit((R"({"level":3,"size":0,"logDirPath":")" + folder + "\"}").c_str());
    for (size_t i = 0; i < audios.size(); ++i) {
        ++tally.turns;
        const auto seen = turn(mode, engine, audios[i], chunkMs * kBytesPerMs, &tally);
        auto &expected = (*atTenMs)[i];
        if (chunkMs == 10) expected = seen;
        for (size_t n = 0; n < seen.size(); ++n) {
            ++tally.ratios;
            tally.sum += seen[n];
            if (n < expected.size())
                tally.furthest = std::max(tally.furthest, std::abs(seen[n] - expected[n]));
        }
    }
    vantelRelease();
    std::string log;
    vantel::readFile(folder + "/cache/log/vantel.log", &log);
    countRefusals(log, &tally);
    return tally;
}

} // namespace

int main(int argc, char **argv)
{
    std::vector<std::string> audios;
    for (int i = 1; i < argc; ++i)
        audios.push_back(readAudio(argv[i]));
    if (audios.empty() || audios.back().empty()) {
        std::fprintf(stderr, "usage: turn_chunks RECORDING...\n");
        return 1;
    }
    const auto folder = std::filesystem::temp_directory_path() / "vantel-turn-chunks";
    std::filesystem::create_directories(folder);
    for (const char *engine : {"silero", "webrtc"}) {
        for (const Mode &mode : kModes) {
            std::printf("%s, %s\nchunk ms  turns  begin refused  end refused  -7395  other errors  "
                        "ratios  mean dB  furthest from 10 ms\n",
                        engine, mode.name);
            std::vector<std::vector<double>> atTenMs(audios.size());
            // The reference first.
            measure(mode, engine, audios, 10, folder.string(), &atTenMs);
            for (size_t chunkMs : kChunksMs) {
                const Tally seen =
                    measure(mode, engine, audios, chunkMs, folder.string(), &atTenMs);
                std::printf("%8zu  %5d  %13d  %11d  %5d  %12d  %6d  %7.1f  %8.2f\n", chunkMs,
                            seen.turns, seen.refusedBegins, seen.refusedEnds, seen.noVoice,
                            seen.otherErrors, seen.ratios,
                            seen.ratios > 0 ? seen.sum / seen.ratios : 0.0, seen.furthest);
                std::fflush(stdout);
            }
        }
    }
    std::filesystem::remove_all(folder);
    return 0;
}
