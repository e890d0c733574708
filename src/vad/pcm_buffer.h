// Audio kept in memory: the growing buffers of the measurement and the pre-roll of fixed size.
//
// Capacities and lengths are bytes. Used by the VAD node's thread only.
#pragma once

#include "tools/heap_text.h"

#include <cstdint>
#include <memory>

namespace vantel::vad
{

using PcmBytes = std::unique_ptr<unsigned char, HeapFree>;

constexpr int32_t kPcmBufferBytes = 320000; // 10 s

// A buffer that keeps everything until it is reset.
struct PcmBuffer {
    PcmBytes bytes;
    int32_t capacity = 0;
    int32_t length = 0;
    // Speech buffer only: where the current speech began, and where the last speech ended, less the
    // trailing pause.
    int32_t begin = 0;
    int32_t end = 0;
};

// Gives an empty buffer its first capacity: 0, or -1 without memory.
int32_t pcmBufferInit(PcmBuffer *buffer, int32_t capacity);

enum class Growth { none, grown, overflow };

// Adds `count` bytes (may be null with 0), growing when they do not fit. On overflow, when the new
// capacity is beyond what 32 bits hold or memory has, nothing is added.
Growth pcmBufferAdd(PcmBuffer *buffer, const void *bytes, int32_t count);

// Empties the buffer; bytes and capacity stay.
void pcmBufferReset(PcmBuffer *buffer);

// The capacity that a full buffer of `capacity` takes for `count` more bytes, as 32-bit arithmetic
// wraps it; below 1 on overflow.
int32_t pcmBufferGrownCapacity(int32_t capacity, int32_t count);

// The newest audio, up to a fixed capacity, oldest byte first.
struct OneshotBuffer {
    PcmBytes bytes;
    int32_t capacity = 0; // 0 keeps nothing
    int32_t length = 0;
};

// Null without memory.
std::unique_ptr<OneshotBuffer> oneshotNew(int32_t capacity);

// Adds `count` bytes; the oldest give way.
void oneshotAdd(OneshotBuffer *buffer, const void *bytes, int32_t count);

} // namespace vantel::vad
