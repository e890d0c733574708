// Recordings of people, and the engine that hears them.
#pragma once

#include "contracts/ostrel.h"
#include "tests/support/pcm.h"
#include "tools/read_file.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>

namespace recordings
{

constexpr char kCommand[] = "goforward.raw";

// 16 kHz samples of a recording of Debian's speech test data, without a header; fails the test when
// it is not there.
inline std::string load(const std::string &name)
{
    constexpr size_t kWaveHeaderBytes = 44;
    std::string audio;
    EXPECT_TRUE(vantel::readFile(RECORDINGS_FOLDER "/" + name, &audio) && !audio.empty())
        << name << " of the speech test data is missing";
    return name.ends_with(".wav") && !audio.empty() ? audio.substr(kWaveHeaderBytes) : audio;
}

inline std::string silence(int milliseconds)
{
    return std::string(static_cast<size_t>(milliseconds) * 32, '\0');
}

// Gives the function the audio in calls of that many bytes, up to the first that fails.
inline int32_t feed(int32_t (*function)(void *handle, const void *data, int32_t length),
                    void *handle, const std::string &audio, size_t chunkBytes)
{
    int32_t result = 0;
    for (size_t at = 0; at < audio.size() && result == 0; at += chunkBytes) {
        size_t bytes = std::min(chunkBytes, audio.size() - at);
        result = function(handle, &audio[at], static_cast<int32_t>(bytes));
    }
    return result;
}

struct LoadedEngine : testing::Test {
    LoadedEngine() { EXPECT_EQ(ostrel_library_load("{}"), 0); }
    ~LoadedEngine() override { ostrel_library_release(); }
};

} // namespace recordings
