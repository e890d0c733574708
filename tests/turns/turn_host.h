// A host of the whole library over the real engine: feeds audio in chunks and keeps what it is
// told.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace turns
{

constexpr int32_t kDetected = 1003;
constexpr int32_t kRecognised = 1004;
constexpr int32_t kReplied = 1005;
constexpr int32_t kError = 1006;
constexpr int32_t kRatio = 1007;
constexpr int32_t kStatus = 1012;

// vantelInit has been called before.
class Host
{
public:
    // `reply` is what a dialog service on the bus answers to each utterance; empty: there is none.
    explicit Host(const std::string &params, std::string reply = "");
    ~Host();
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    void startDialog();
    void stopDialog();
    void startListening(); // without a dialog
    void stopListening();
    // Each chunk is handled, with all that follows from it, before the next; short ones are handled
    // together, up to 40 ms.
    void feed(const std::string &audio, size_t chunkBytes);
    // As a member of the bus would.
    void publish(const std::string &topic, const std::string &data);
    void advance(int32_t milliseconds); // the timers' clock

    // The JSON texts of an event so far.
    std::vector<std::string> told(int32_t event) const;

private:
    static char *callback(void *user, const void *data, uint32_t length, int32_t type,
                          int32_t event);
    void settle();
    size_t count() const;

    struct Told {
        int32_t event;
        std::string data;
    };

    const std::string reply_;
    void *handle_ = nullptr;
    void *member_ = nullptr;
    mutable std::mutex mutex_;
    std::vector<Told> told_; // guarded by mutex_
};

// The decibels of each measurement.
std::vector<double> ratios(const Host &host);

} // namespace turns
