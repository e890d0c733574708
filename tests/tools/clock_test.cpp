#include "tools/quenda_tool.h"
#include "tools/sha1.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>
#include <string>

using namespace vantel;

namespace
{

std::string sha1Hex(const std::string &text, uint32_t step)
{
    Sha1Context context;
    sha1Init(&context);
    for (size_t at = 0; at < text.size(); at += step) {
        std::string piece = text.substr(at, step);
        sha1Update(&context, piece.data(), static_cast<uint32_t>(piece.size()));
    }
    uint8_t digest[kSha1Bytes];
    sha1Final(digest, &context);
    char hex[2 * kSha1Bytes + 1];
    for (int i = 0; i < kSha1Bytes; ++i)
        std::snprintf(hex + 2 * i, 3, "%02x", digest[i]);
    return hex;
}

// The digests that FIPS 180-1 gives for its examples.
TEST(Sha1, AgreesWithItsStandardWhateverThePieces)
{
    const std::string two = "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq";
    for (uint32_t step : {1U, 3U, 64U, 1000000U}) {
        EXPECT_EQ(sha1Hex("abc", step), "a9993e364706816aba3e25717850c26c9cd0d89d");
        EXPECT_EQ(sha1Hex(two, step), "84983e441c3bd26ebaae4aa1f95129e5e54670f1");
        EXPECT_EQ(sha1Hex("", step), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
    }
    EXPECT_EQ(sha1Hex(std::string(1000000, 'a'), 4096), "34aa973cd4c4daa4f61eeb2bdbad27316534016f");
}

TEST(Clock, NowIsTheEpochInMillisecondsModulo32Bits)
{
    using namespace std::chrono;
    auto epochMs = [] {
        return static_cast<uint32_t>(
            duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count());
    };
    uint32_t before = epochMs();
    uint32_t now = nowMs();
    EXPECT_LE(now - before, epochMs() - before);
}

TEST(Uuid, IsFortyLowercaseDigitsAndDiffersFromCallToCall)
{
    char first[kUuidBytes];
    char second[kUuidBytes];
    quendaGetUUID(first, "device");
    // The clock and the seed change within a millisecond or a microsecond.
    do {
        quendaGetUUID(second, "");
    } while (std::strcmp(first, second) == 0);
    for (const char *id : {first, second}) {
        EXPECT_EQ(std::strlen(id), 40U);
        EXPECT_EQ(std::strspn(id, "0123456789abcdef"), 40U);
    }
}

TEST(Uuid, WithoutADeviceIdLeavesTheBufferAndSaysSo)
{
    char id[kUuidBytes] = "untouched";
    testing::internal::CaptureStdout();
    quendaGetUUID(id, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "uuid deviceId is null\n");
    EXPECT_STREQ(id, "untouched");
}

} // namespace
