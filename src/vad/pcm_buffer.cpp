// Audio in memory: a buffer that grows, and one of fixed size that forgets its oldest.
#include "src/vad/pcm_buffer.h"

#include <cassert>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>

namespace vantel::vad
{
namespace
{

// What 32-bit arithmetic makes of the value.
int32_t wrapped(int64_t value)
{
    return static_cast<int32_t>(static_cast<uint32_t>(value));
}

PcmBytes allocated(int32_t capacity)
{
    return PcmBytes{static_cast<unsigned char *>(std::malloc(static_cast<size_t>(capacity)))};
}

bool reallocate(PcmBuffer *buffer, int32_t capacity)
{
    void *moved = std::realloc(buffer->bytes.get(), static_cast<size_t>(capacity));
    if (!moved) return false;
    static_cast<void>(buffer->bytes.release());
    buffer->bytes.reset(static_cast<unsigned char *>(moved));
    buffer->capacity = capacity;
    return true;
}

} // namespace

int32_t pcmBufferInit(PcmBuffer *buffer, int32_t capacity)
{
    buffer->bytes = allocated(capacity);
    if (!buffer->bytes) return -1;
    buffer->capacity = capacity;
    return 0;
}

int32_t pcmBufferGrownCapacity(int32_t capacity, int32_t count)
{
    const int64_t half = wrapped(int64_t{capacity} * 3) / 2;
    return wrapped(half + count);
}

Growth pcmBufferAdd(PcmBuffer *buffer, const void *bytes, int32_t count)
{
    assert(count >= 0 && "chunks have no negative length");
    if (count == 0) return Growth::none;
    const int64_t needed = int64_t{buffer->length} + count;
    Growth growth = Growth::none;
    if (needed > buffer->capacity) {
        const int32_t capacity = pcmBufferGrownCapacity(buffer->capacity, count);
        // Wrapping can also end above zero, at a capacity that the bytes would not fit in.
        if (capacity < needed || !reallocate(buffer, capacity)) return Growth::overflow;
        growth = Growth::grown;
    }
    std::memcpy(buffer->bytes.get() + buffer->length, bytes, static_cast<size_t>(count));
    buffer->length += count;
    return growth;
}

void pcmBufferReset(PcmBuffer *buffer)
{
    buffer->length = 0;
    buffer->begin = 0;
    buffer->end = 0;
}

std::unique_ptr<OneshotBuffer> oneshotNew(int32_t capacity)
{
    std::unique_ptr<OneshotBuffer> buffer{new (std::nothrow) OneshotBuffer};
    if (!buffer || capacity == 0) return buffer;
    buffer->bytes = allocated(capacity);
    if (!buffer->bytes) return nullptr;
    buffer->capacity = capacity;
    return buffer;
}

void oneshotAdd(OneshotBuffer *buffer, const void *bytes, int32_t count)
{
    assert(count >= 0 && "chunks have no negative length");
    if (count == 0 || buffer->capacity == 0) return;
    const unsigned char *newest = static_cast<const unsigned char *>(bytes);
    if (count >= buffer->capacity) {
        newest += count - buffer->capacity;
        count = buffer->capacity;
        buffer->length = 0;
    }
    unsigned char *kept = buffer->bytes.get();
    // Both lengths are at most the capacity here; their sum may be beyond 32 bits.
    const int64_t excess = int64_t{buffer->length} + count - buffer->capacity;
    if (excess > 0) {
        const int32_t dropped = static_cast<int32_t>(excess);
        buffer->length -= dropped;
        std::memmove(kept, kept + dropped, static_cast<size_t>(buffer->length));
    }
    std::memcpy(kept + buffer->length, newest, static_cast<size_t>(count));
    buffer->length += count;
}

} // namespace vantel::vad
