// One instance of the library and what the tool knows of its dialog.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>

namespace vantel::app
{

struct HostEvent {
    int64_t ms; // since the session began
    int32_t event;
    int32_t type;
    std::string data;
};

// Events come one at a time, on the library's threads.
using EventSink = std::function<void(const HostEvent &)>;

class Session
{
public:
    // `initialisation` and `parameters` are the texts of vantelInit and vantelNew.
    Session(const std::string &initialisation, const std::string &parameters, EventSink sink);
    ~Session();
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    // Why nothing can be recognised; empty when all is well.
    const std::string &error() const { return error_; }

    void startDialog();
    void stopDialog();
    void feed(const int16_t *samples, size_t count);

    // "silence", "listening", "understanding" or "speaking".
    std::string status() const;
    // Waits until the status differs from `status`, or for so long.
    bool waitForChange(const std::string &status, std::chrono::milliseconds limit);

    int32_t dialogs() const;  // listening turns so far
    int32_t texts() const;    // recognised so far
    int32_t commands() const; // those among them that have a meaning
    bool hasFailed() const;   // a part of the engine reported that it cannot work

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);
    void observe(const HostEvent &event);
    void settle();

    EventSink sink_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
    std::string error_;
    void *handle_ = nullptr;
    void *member_ = nullptr; // the tool's own node on the instance's bus
    std::mutex sinkMutex_;
    // Guarded by mutex_.
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string status_ = "silence";
    int32_t dialogs_ = 0;
    int32_t texts_ = 0;
    int32_t commands_ = 0;
    bool hasFailed_ = false;
};

} // namespace vantel::app
