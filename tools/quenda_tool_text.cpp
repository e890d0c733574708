#include "tools/quenda_tool.h"

#include "tools/text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace vantel
{
namespace
{

constexpr int32_t kWideUnitBytes = 3;

bool startsWideUnit(char c)
{
    return static_cast<unsigned char>(c) >= 0x80;
}

HeapText heapCopy(std::string_view text)
{
    HeapText copy{static_cast<char *>(std::malloc(text.size() + 1))};
    if (!copy) return copy;
    std::memcpy(copy.get(), text.data(), text.size());
    copy.get()[text.size()] = '\0';
    return copy;
}

size_t count(const char *text, const char *needle, size_t needleBytes)
{
    size_t found = 0;
    for (const char *at = std::strstr(text, needle); at; at = std::strstr(at + needleBytes, needle))
        ++found;
    return found;
}

// Stands for a unit that is left out of a subsequence, until the array is complete.
const char *deletionMarker(int32_t width)
{
    return width == kWideUnitBytes ? "\xE9\xB3\x8F" : "-";
}

// The array is complete when every subsequence has been written.
int64_t closedPosition(int32_t length, int32_t width)
{
    return (int64_t{1} << (length / width)) * (length + 3) + 1;
}

void closeArray(char *out, int32_t capacity, int32_t position, int32_t width)
{
    out[position - 1] = ']';
    HeapText clean = quendaReplace(out, deletionMarker(width), "");
    if (!clean) return;
    std::memset(out, 0, static_cast<size_t>(capacity));
    std::memcpy(out, clean.get(), std::strlen(clean.get()));
}

} // namespace

HeapText dupString(const char *text)
{
    return text ? heapCopy(text) : HeapText{};
}

HeapText quendaReplace(const char *text, const char *old, const char *replacement)
{
    if (!text || !old || !replacement || !*old) return {};
    const size_t oldBytes = std::strlen(old);
    const size_t newBytes = std::strlen(replacement);
    const size_t found = count(text, old, oldBytes);
    HeapText result{static_cast<char *>(
        std::malloc(std::strlen(text) - found * oldBytes + found * newBytes + 1))};
    if (!result) {
        std::puts("quendaReplace malloc failed");
        return {};
    }
    char *out = result.get();
    while (const char *at = std::strstr(text, old)) {
        std::memcpy(out, text, static_cast<size_t>(at - text));
        out += at - text;
        std::memcpy(out, replacement, newBytes);
        out += newBytes;
        text = at + oldBytes;
    }
    std::memcpy(out, text, std::strlen(text) + 1);
    return result;
}

HeapText lastOccurrenceTail(const char *text, const char *needle, int32_t step)
{
    if (!text || !needle || step < 1) return {};
    const char *end = text + std::strlen(text);
    const char *last = nullptr;
    for (const char *at = std::strstr(text, needle); at;
         at = end - at >= step ? std::strstr(at + step, needle) : nullptr) {
        last = at;
    }
    return last ? heapCopy(last) : HeapText{};
}

int32_t normaliseSpacing(const char *text, char *out, int32_t outSize)
{
    if (!text || !out || outSize < 1) return -1;
    std::memset(out, 0, static_cast<size_t>(outSize));
    std::string_view rest = trimmed(text);
    if (rest.size() < kWideUnitBytes) return 0;
    HeapText tidy = heapCopy(rest); // the result is never longer
    if (!tidy) return -1;

    char *end = tidy.get();
    bool lastWide = false;
    while (!rest.empty()) {
        const bool afterBlank = end != tidy.get() && end[-1] == ' ';
        const bool isWide = startsWideUnit(rest.front());
        const bool isBlank = rest.front() == ' ';
        const size_t bytes = std::min<size_t>(isWide ? kWideUnitBytes : 1, rest.size());
        if (isWide && afterBlank) --end;
        if (!isBlank || (!afterBlank && !lastWide)) {
            end = std::copy_n(rest.data(), bytes, end);
        }
        // A blank that vanishes beside a wide character leaves the next one beside it too.
        if (!isBlank) lastWide = isWide;
        rest.remove_prefix(bytes);
    }
    std::memcpy(out, tidy.get(),
                std::min(static_cast<size_t>(end - tidy.get()), static_cast<size_t>(outSize) - 1));
    return 0;
}

int32_t expandSubsets(const char *text, int32_t length, int32_t width, char *out, int32_t *position,
                      int32_t capacity, int32_t remaining)
{
    if (*position == 0) {
        out[0] = '[';
        *position = 1;
    }
    if (remaining >= width) {
        for (bool leaveOut : {true, false}) {
            HeapText copy = heapCopy({text, static_cast<size_t>(length)});
            if (!copy) {
                std::puts("malloc failed");
                continue;
            }
            if (leaveOut) {
                std::memcpy(copy.get() + remaining - width, deletionMarker(width),
                            static_cast<size_t>(width));
            }
            expandSubsets(copy.get(), length, width, out, position, capacity, remaining - width);
        }
        // Only the outermost call closes: inside, elements are still to come.
        if (remaining == length && *position == closedPosition(length, width))
            closeArray(out, capacity, *position, width);
    } else if (remaining == 0 && *position + length + 3 >= capacity) {
        std::puts("mid overflow");
    } else if (remaining == 0) {
        char *element = out + *position;
        element[0] = '"';
        std::memcpy(element + 1, text, static_cast<size_t>(length));
        element[length + 1] = '"';
        element[length + 2] = ',';
        *position += length + 3;
    }
    return *position;
}

} // namespace vantel
