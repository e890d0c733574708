// Clock, identifiers, directories and the text operations of the dialog side.
//
// Texts are zero-terminated bytes in UTF-8. Where characters are counted, every byte of 0x80 or
// above starts a character of three bytes (the texts are Chinese).
#pragma once

#include "tools/heap_text.h"

#include <cstdint>

namespace vantel
{

struct TimeOfDay {
    int32_t seconds;      // since the epoch
    int32_t microseconds; // always whole milliseconds
};

int32_t getTimeOfDay(TimeOfDay *now); // 0

// Milliseconds since the epoch modulo 2^32; it wraps every 49.7 days.
uint32_t nowMs();

// Bytes of an identifier: 40 lowercase hexadecimal digits and the zero byte.
constexpr int32_t kUuidBytes = 41;

// Fills `out` (kUuidBytes) with the SHA-1 of clock, random text and device id. A null device id
// writes a notice to standard output and leaves `out` as it was.
void quendaGetUUID(char *out, const char *deviceId);

// Makes a directory with its missing parents; "/" separates. 0 when it exists then, else -1.
int32_t makeDirs(const char *path);

// A heap copy; null for null.
HeapText dupString(const char *text);

// `text` with every occurrence of `old` (not empty) replaced; null when an argument is null.
HeapText quendaReplace(const char *text, const char *old, const char *replacement);

// A copy of `text` from the last occurrence of `needle` on; the search goes on `step` bytes after
// the start of each occurrence. Null when there is none or an argument is null.
HeapText lastOccurrenceTail(const char *text, const char *needle, int32_t step);

// Tidies the blanks of a recognised text: none at the ends or beside a three-byte character, one
// between words of ASCII; a text shorter than three bytes becomes empty. `outSize` is at least the
// text's length plus one. 0, or -1 when an argument is null.
int32_t normaliseSpacing(const char *text, char *out, int32_t outSize);

// Writes the JSON array of all subsequences of the `length / width` units of `text`, each `width`
// bytes (1 or 3), to the zeroed `out` of `capacity` bytes; element k holds the units whose bit in k
// is set. The caller starts with *position 0 and remaining = length. Returns the position reached.
// The capacity holds 2^units * (length + 3) + 2 bytes; with less the array stays open.
int32_t expandSubsets(const char *text, int32_t length, int32_t width, char *out, int32_t *position,
                      int32_t capacity, int32_t remaining);

} // namespace vantel
