// Runs a target once for each of its seeds.
#include "tests/fuzz/fuzz.h"

#include <filesystem>
#include <fstream>
#include <iterator>

int main(int count, char **arguments)
{
    int seeds = 0;
    LLVMFuzzerInitialize(&count, &arguments);
    for (const auto &entry : std::filesystem::directory_iterator{FUZZ_SEEDS}) {
        std::ifstream file{entry.path(), std::ios::binary};
        const std::string content{std::istreambuf_iterator<char>{file}, {}};
        // A block of exactly its size, so that a read beyond it is seen.
        const std::vector<uint8_t> bytes(content.begin(), content.end());
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
        ++seeds;
    }
    return seeds > 0 ? 0 : 1;
}
