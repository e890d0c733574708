// Recordings of people, and the engine that hears them.
#pragma once

#include "contracts/ostrel.h"

#include <gtest/gtest.h>
#include <string>

namespace recordings
{

// Of the speech test data: a command, and numbers.
constexpr char kCommand[] = "goforward.raw";
constexpr char kNumbers[] = "numbers.raw";

// 16 kHz samples of a recording of Debian's speech test data, without a header; fails the test when
// it is not there.
std::string load(const std::string &name);

std::string silence(int milliseconds);

// White noise, the same in every run; `amplitude` is at most 32768.
std::string noise(int milliseconds, int amplitude);

struct LoadedEngine : testing::Test {
    LoadedEngine() { EXPECT_EQ(ostrel_library_load(R"({"logEnable":false})"), 0); }
    ~LoadedEngine() override { ostrel_library_release(); }
};

} // namespace recordings
