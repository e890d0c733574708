// What the fuzz targets share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace fuzz
{

inline void require(bool condition)
{
    if (!condition) std::abort();
}

// The input cut at each line's end.
std::vector<std::string> linesOf(const uint8_t *data, size_t size);

// A configuration that names no path outside the working folder, which is one of the target's own.
std::string harmless(std::string configuration);

// A file with that content; its path is good until the next.
std::string fileOf(const uint8_t *data, size_t size);

// The line up to its first blank, and what follows in a block of exactly its size and a zero behind
// it, as the bus delivers it.
struct Message {
    std::string topic;
    std::vector<char> payload;
    uint32_t length() const { return static_cast<uint32_t>(payload.size() - 1); }
};
Message messageOf(const std::string &line);

} // namespace fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);
extern "C" int LLVMFuzzerInitialize(int *count, char ***arguments);
