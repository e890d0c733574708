// Recordings of people, and what a detector says of them.
#pragma once

#include "contracts/ostrel.h"

#include <cstdint>
#include <string>
#include <vector>

namespace recordings
{

// 16 kHz samples of a recording of Debian's speech test data, without a header; fails the test when
// it is not there.
std::string load(const std::string &name);

std::string silence(int milliseconds);

// White noise, the same in every run; `amplitude` is at most 32768.
std::string noise(int milliseconds, int amplitude);

struct Status {
    int status;
    int64_t offset;
    size_t passedBefore; // bytes of speech that came before it
    bool operator==(const Status &) const = default;
};

// What came out of a detector.
struct Heard {
    std::vector<Status> statuses;
    std::string speech;
    bool operator==(const Heard &) const = default;
};

// A detector over the engine's C interface; no handle when it could not be made.
class Detector
{
public:
    explicit Detector(const char *configuration);
    ~Detector();
    Detector(const Detector &) = delete;
    Detector &operator=(const Detector &) = delete;

    void start(int pauseMs);
    void feed(const std::string &audio, size_t chunkBytes = 640);
    void stop();

    // What came since the last call.
    Heard take();

    void *handle() const { return handle_; }

private:
    static int32_t onEvent(void *user, int32_t kind, const void *data, int32_t length);

    Heard heard_;
    void *handle_;
};

} // namespace recordings
