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

// Events as the callback gets them, one at a time, on the library's threads.
using EventSink = std::function<void(int32_t event, int32_t type, const std::string &data)>;

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

    // Each of these returns once the library has handled it.
    void startDialog();
    void stopDialog();
    void feed(const int16_t *samples, size_t count);

    // Returns once the library has handled what it was sent before.
    void settle();

    // "silence", "listening", "understanding" or "speaking".
    std::string status() const;
    // Waits until the status differs from `status`, or for so long.
    bool waitForChange(const std::string &status, std::chrono::milliseconds limit);

    int32_t dialogs() const; // listening turns so far
    bool hasFailed() const;  // a part of the engine reported that it cannot work

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);
    void observe(int32_t event, int32_t type, const std::string &text);

    EventSink sink_;
    std::string error_;
    void *handle_ = nullptr;
    void *member_ = nullptr; // the tool's own node on the instance's bus
    std::mutex sinkMutex_;
    // Guarded by mutex_.
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::string status_ = "silence";
    int32_t dialogs_ = 0;
    bool hasFailed_ = false;
};

} // namespace vantel::app
