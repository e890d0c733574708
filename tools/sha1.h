// SHA-1 (FIPS 180-1), incremental. It names files here; nothing relies on it being hard to break.
#pragma once

#include <cstdint>

namespace vantel
{

struct Sha1Context {
    uint32_t chain[5];
    uint64_t bits;
    uint8_t block[64];
};

constexpr int32_t kSha1Bytes = 20;

void sha1Init(Sha1Context *context);
void sha1Update(Sha1Context *context, const void *bytes, uint32_t length);
// Writes kSha1Bytes.
void sha1Final(uint8_t *digest, Sha1Context *context);

} // namespace vantel
