// The voice activity node alone.
#pragma once

#include "tests/support/bench.h"
#include "tests/support/pcm.h"

#include <filesystem>
#include <set>

class VadBench : public Bench
{
protected:
    // Capture files by kind ("vad", "feedVad"), those of a kind in the order of their names.
    using Captures = std::map<std::string, Lines>;

    VadBench() { initialise(); }

    // "HOME" in the configuration stands for the folder.
    void begin(const char *configuration)
    {
        std::string text = configuration ? configuration : "";
        const size_t home = text.find("HOME");
        if (home != text.npos) text.replace(home, 4, folder.path());
        end();
        std::filesystem::remove_all(folder / "cache/vad");
        beginNode(Node::vad, configuration ? text.c_str() : nullptr);
        for (int32_t event : {VANTEL_EVENT_VAD, VANTEL_EVENT_SNR_SILENCE, VANTEL_EVENT_SNR_VOICE})
            answer(event, "{}"); // which the node frees
    }
    void start() { call("/localVad/start"); }
    void stop() { call("/localVad/stop"); }
    void feed(const std::string &pcm, size_t chunk = 3200)
    {
        for (size_t at = 0; at < pcm.size(); at += chunk)
            send("sys.localRecorder.pcm", pcm.substr(at, chunk));
    }
    void wakeUp() { send("sys.localWakeup.result", "{}"); }
    void cancelPreRoll() { send("sys.localProcessor.cancelOneshotAudio", ""); }
    void beginMeasurement() { send("sys.snr.calculation", R"({"status":"begin"})"); }
    void endMeasurement() { send("sys.snr.calculation", R"({"status":"end"})"); }

    // What the detector says inside the next call of that moment.
    static void detect(int32_t kind, const std::string &data, int64_t afterBytes = 0)
    {
        scripted::emit("ostrel_vad_feed", kind, data, afterBytes);
    }
    // Without `fed` the detector does not say how much it was fed before.
    static std::string status(int32_t status, int32_t offset, int32_t fed)
    {
        const std::string more = fed < 0 ? "" : ",\"fed\":" + std::to_string(fed);
        return "{\"status\":" + std::to_string(status) + ",\"offset\":" + std::to_string(offset) +
               more + "}";
    }
    static std::string began(int32_t offset, int32_t fed = -1) { return status(1, offset, fed); }
    static std::string ended(int32_t offset, int32_t fed = -1) { return status(2, offset, fed); }

    // What the engine was asked once the node has handled everything.
    Lines asked(const std::string &prefix = "")
    {
        settle();
        return scripted::callNames(prefix);
    }
    Captures captures()
    {
        settle();
        std::set<std::string> names;
        std::error_code absent;
        for (const auto &entry : std::filesystem::directory_iterator(folder / "cache/vad", absent))
            names.insert(entry.path().filename().string());
        Captures byKind;
        for (const std::string &name : names) {
            const size_t kind = name.rfind('_') + 1;
            byKind[name.substr(kind, name.rfind('.') - kind)].push_back(
                folder.read("cache/vad/" + name));
        }
        return byKind;
    }
};
