#include "src/vad/pcm_buffer.h"

#include "tests/support/pcm.h"

#include <gtest/gtest.h>

using namespace vantel;
using namespace vantel::vad;

namespace
{

template <typename Buffer> std::string content(const Buffer &buffer)
{
    return {reinterpret_cast<const char *>(buffer.bytes.get()), static_cast<size_t>(buffer.length)};
}

TEST(PcmBuffer, GrowsByHalfAndTheChunkOnlyWhenTheChunkDoesNotFit)
{
    PcmBuffer buffer;
    ASSERT_EQ(pcmBufferInit(&buffer, 11), 0);
    const std::string audio = noise(20, 1000);
    EXPECT_EQ(pcmBufferAdd(&buffer, audio.data(), 11), Growth::none);
    EXPECT_EQ(pcmBufferAdd(&buffer, nullptr, 0), Growth::none);
    EXPECT_EQ(buffer.capacity, 11);
    EXPECT_EQ(pcmBufferAdd(&buffer, audio.data() + 11, 3), Growth::grown);
    EXPECT_EQ(buffer.capacity, 11 * 3 / 2 + 3);
    EXPECT_EQ(pcmBufferAdd(&buffer, audio.data() + 14, 5), Growth::none);
    EXPECT_EQ(content(buffer), audio.substr(0, 19));
    buffer.begin = buffer.end = 4;
    pcmBufferReset(&buffer);
    EXPECT_EQ(buffer.length + buffer.begin + buffer.end, 0);
    EXPECT_EQ(buffer.capacity, 19);
}

TEST(PcmBuffer, CapacityWrapsIn32Bits)
{
    EXPECT_EQ(pcmBufferGrownCapacity(320000, 3200), 483200);
    EXPECT_EQ(pcmBufferGrownCapacity(715827882, 0), 1073741823);
    EXPECT_LT(pcmBufferGrownCapacity(715827883, 0), 1) << "the product wraps";
    EXPECT_LT(pcmBufferGrownCapacity(715827882, INT32_MAX), 1) << "the sum wraps";
    EXPECT_EQ(pcmBufferGrownCapacity(1500000000, 0), 102516352) << "wraps past zero";
}

// The figures stand in for a buffer that nobody could fill in a test; nothing reads its bytes.
TEST(PcmBuffer, NothingIsAddedBeyond32Bits)
{
    for (int32_t capacity : {715827883, 1500000000, INT32_MAX}) {
        PcmBuffer buffer;
        ASSERT_EQ(pcmBufferInit(&buffer, 100), 0);
        buffer.capacity = buffer.length = capacity;
        EXPECT_EQ(pcmBufferAdd(&buffer, "abcd", 4), Growth::overflow) << capacity;
        EXPECT_EQ(buffer.length, capacity);
        EXPECT_EQ(buffer.capacity, capacity);
    }
}

TEST(OneshotBuffer, HoldsTheNewestBytesWhateverTheChunks)
{
    const std::string audio = noise(100, 1000);
    for (const auto &[chunk, capacity] :
         {std::pair{1, 17}, {3, 17}, {16, 17}, {17, 17}, {40, 17}, {200, 17}, {3, 0}}) {
        auto buffer = oneshotNew(capacity);
        for (int32_t at = 0; at < 200; at += chunk) {
            oneshotAdd(buffer.get(), audio.data() + at, std::min(chunk, 200 - at));
            const int32_t fed = std::min(at + chunk, 200);
            const int32_t kept = std::min(fed, capacity);
            ASSERT_EQ(content(*buffer),
                      audio.substr(static_cast<size_t>(fed - kept), static_cast<size_t>(kept)))
                << chunk;
        }
    }
}

} // namespace
