// The voice activity node alone on a bus: an engine that is scripted, a host that keeps what it is
// given, and an outside member that stands for all other nodes.
#pragma once

#include "src/vad/vad.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/system.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

class VadNode
{
public:
    using Heard = std::vector<std::pair<std::string, std::string>>; // topic, data

    // "HOME" in the configuration stands for a fresh folder; null for no configuration.
    explicit VadNode(const char *configuration);
    ~VadNode();
    VadNode(const VadNode &) = delete;
    VadNode &operator=(const VadNode &) = delete;

    void start() { member_->call("/localVad/start"); }
    void stop() { member_->call("/localVad/stop"); }
    std::string call(const std::string &path) { return member_->call(path); }
    void publish(const std::string &topic, const std::string &data)
    {
        member_->publish(topic, data);
    }
    void publishNull(const std::string &topic) { member_->publishNull(topic); }
    void feed(const std::string &pcm, size_t chunk = 3200);
    void wakeUp() { publish("sys.localWakeup.result", "{}"); }
    void cancelPreRoll() { publish("sys.localProcessor.cancelOneshotAudio", ""); }
    void beginMeasurement() { publish("sys.snr.calculation", R"({"status":"begin"})"); }
    void endMeasurement() { publish("sys.snr.calculation", R"({"status":"end"})"); }
    void advance(int32_t milliseconds);
    void settle();
    // Ends the node's loop and deletes the node.
    void close();

    // Each settles first.
    Heard heard();
    std::vector<std::string> topics();
    std::vector<std::string> heardOn(const std::string &topic);
    std::vector<support::Event> events();
    size_t logged(const std::string &text); // how often
    // Capture files by kind ("vad", "feedVad"), every one of a kind in the order of its name.
    std::map<std::string, std::vector<std::string>> captures();

    const std::string &home() const { return home_; }

private:
    static char *onEvent(void *user, const void *data, uint32_t length, int32_t type,
                         int32_t event);

    std::string home_;
    void *bus_;
    std::thread server_;
    vantel::Instance instance_;
    std::mutex mutex_;
    std::vector<support::Event> events_;
    std::unique_ptr<support::Member> member_;
    std::unique_ptr<support::Member> probe_;
    vantel::VadRecord *record_ = nullptr;
};

// {"status":1,"offset":...} and its like, as the detector says it.
std::string began(int32_t offset);
std::string ended(int32_t offset);
