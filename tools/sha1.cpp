#include "tools/sha1.h"

#include <bit>
#include <cstddef>

namespace vantel
{
namespace
{

uint32_t bigEndian32(const uint8_t *bytes)
{
    return static_cast<uint32_t>(bytes[0]) << 24 | static_cast<uint32_t>(bytes[1]) << 16 |
           static_cast<uint32_t>(bytes[2]) << 8 | bytes[3];
}

void digestBlock(uint32_t chain[5], const uint8_t block[64])
{
    uint32_t words[80];
    for (int t = 0; t < 16; ++t)
        words[t] = bigEndian32(block + 4 * t);
    for (int t = 16; t < 80; ++t)
        words[t] = std::rotl(words[t - 3] ^ words[t - 8] ^ words[t - 14] ^ words[t - 16], 1);

    uint32_t a = chain[0], b = chain[1], c = chain[2], d = chain[3], e = chain[4];
    for (int t = 0; t < 80; ++t) {
        uint32_t f, k;
        if (t < 20) {
            f = (b & c) | (~b & d);
            k = 0x5A827999;
        } else if (t < 40) {
            f = b ^ c ^ d;
            k = 0x6ED9EBA1;
        } else if (t < 60) {
            f = (b & c) | (b & d) | (c & d);
            k = 0x8F1BBCDC;
        } else {
            f = b ^ c ^ d;
            k = 0xCA62C1D6;
        }
        uint32_t next = std::rotl(a, 5) + f + e + k + words[t];
        e = d;
        d = c;
        c = std::rotl(b, 30);
        b = a;
        a = next;
    }
    chain[0] += a;
    chain[1] += b;
    chain[2] += c;
    chain[3] += d;
    chain[4] += e;
}

} // namespace

void sha1Init(Sha1Context *context)
{
    *context = {{0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0}, 0, {}};
}

void sha1Update(Sha1Context *context, const void *bytes, uint32_t length)
{
    const uint8_t *in = static_cast<const uint8_t *>(bytes);
    for (uint32_t i = 0; i < length; ++i) {
        context->block[context->bits / 8 % 64] = in[i];
        context->bits += 8;
        if (context->bits % 512 == 0) digestBlock(context->chain, context->block);
    }
}

void sha1Final(uint8_t *digest, Sha1Context *context)
{
    const uint64_t messageBits = context->bits;
    const uint8_t marker = 0x80;
    const uint8_t zero = 0;
    sha1Update(context, &marker, 1);
    while (context->bits % 512 != 448)
        sha1Update(context, &zero, 1);
    for (int shift = 56; shift >= 0; shift -= 8) {
        uint8_t byte = static_cast<uint8_t>(messageBits >> shift);
        sha1Update(context, &byte, 1);
    }
    for (int i = 0; i < kSha1Bytes; ++i)
        digest[i] = static_cast<uint8_t>(context->chain[i / 4] >> (24 - 8 * (i % 4)));
}

} // namespace vantel
