// Digests, identifiers and texts.
#include "tools/json.h"
#include "tools/quenda_tool.h"
#include "tools/sha1.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

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
    for (size_t i = 0; i < sizeof digest; ++i)
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
    char untouched[kUuidBytes] = "untouched";
    testing::internal::CaptureStdout();
    quendaGetUUID(untouched, nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "uuid deviceId is null\n");
    EXPECT_STREQ(untouched, "untouched");
}

std::string orNone(const HeapText &text)
{
    return text ? text.get() : "(none)";
}

TEST(Replace, ReplacesEveryOccurrenceOnceFromTheLeft)
{
    EXPECT_EQ(orNone(quendaReplace("a-b-c", "-", "")), "abc");
    EXPECT_EQ(orNone(quendaReplace("", "-", "x")), "");
    EXPECT_EQ(orNone(quendaReplace("aaa", "aa", "b")), "ba");
    EXPECT_EQ(orNone(quendaReplace("aa", "a", "aa")), "aaaa");
    EXPECT_EQ(orNone(quendaReplace(nullptr, "a", "b")), "(none)");
    EXPECT_EQ(orNone(quendaReplace("a", nullptr, "b")), "(none)");
    EXPECT_EQ(orNone(quendaReplace("a", "a", nullptr)), "(none)");
}

TEST(Spacing, LeavesOneBlankBetweenAsciiWordsAndNoneBesideChinese)
{
    const std::pair<const char *, const char *> cases[] = {
        {"  ab   cd  ", "ab cd"},
        {"打 开 空 调", "打开空调"},
        {"打  开", "打开"},
        {"play  music", "play music"},
        {"打开 wifi", "打开wifi"},
        {"wifi  打开 now ok", "wifi打开now ok"},
        {"ok", ""},
        {"    ", ""},
        {"", ""},
        {"abc\xE4", "abc\xE4"}, // a character that is cut short is not read beyond its end
    };
    for (const auto &[text, tidy] : cases) {
        std::vector<char> out(std::strlen(text) + 1, 'x');
        EXPECT_EQ(normaliseSpacing(text, out.data(), static_cast<int32_t>(out.size())), 0);
        EXPECT_STREQ(out.data(), tidy);
    }
    char out[4];
    EXPECT_EQ(normaliseSpacing(nullptr, out, 4), -1);
    EXPECT_EQ(normaliseSpacing("text", nullptr, 4), -1);
}

std::vector<std::string> subsets(const std::string &text, int32_t width, int32_t spare = 0)
{
    int32_t length = static_cast<int32_t>(text.size());
    int32_t capacity = (1 << (length / width)) * (length + 3) + 2 + spare;
    std::vector<char> out(static_cast<size_t>(capacity) + 1);
    int32_t position = 0;
    expandSubsets(text.c_str(), length, width, out.data(), &position, capacity, length);
    Json array = jsonParse(out.data());
    std::vector<std::string> items;
    for (const cJSON *item = array ? array->child : nullptr; item; item = item->next)
        items.emplace_back(item->valuestring);
    return items;
}

TEST(Subsets, AreAllSubsequencesInBinaryOrderAsFarAsTheCapacityReaches)
{
    using Texts = std::vector<std::string>;
    EXPECT_EQ(subsets("ABC", 1), (Texts{"", "A", "B", "AB", "C", "AC", "BC", "ABC"}));
    // The character that marks a deletion vanishes from every element.
    EXPECT_EQ(subsets("你鳏", 3), (Texts{"", "你", "", "你"}));
    testing::internal::CaptureStdout();
    EXPECT_EQ(subsets("ABC", 1, -6), Texts{}) << "the array stays open";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "mid overflow\n");
}

} // namespace
