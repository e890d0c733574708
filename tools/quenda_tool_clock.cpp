#include "tools/quenda_tool.h"

#include "platform/platform.h"
#include "tools/log.h"
#include "tools/sha1.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#define TOOL_LOG(level, ...) VANTEL_LOG("tools/quenda_tool", level, __VA_ARGS__)

namespace vantel
{
namespace
{

constexpr char kHexDigits[] = "0123456789abcdef";

char *appendHexByte(char *out, int value)
{
    *out++ = kHexDigits[value >> 4];
    *out++ = kHexDigits[value & 15];
    return out;
}

// Seeded from the clock, so that every identifier starts a sequence of its own.
void seedRandom()
{
    uint64_t frequency = platformPerformanceFrequency();
    double fraction = static_cast<double>(platformPerformanceCounter() % frequency);
    std::srand(static_cast<unsigned>(fraction * 1000000.0 / static_cast<double>(frequency)));
}

// 36 characters in the layout of a version-4 UUID, and a zero byte.
void randomUuidText(char *out)
{
    for (int i = 0; i < 16; ++i) {
        int r = std::rand() % 255;
        if (i == 6) {
            *out++ = '4';
            *out++ = kHexDigits[r % 15];
        } else if (i == 8) {
            *out++ = "89ab"[std::rand() & 3];
            *out++ = kHexDigits[r % 15];
        } else {
            out = appendHexByte(out, r);
        }
        if (i == 3 || i == 5 || i == 7 || i == 9) *out++ = '-';
    }
    *out = '\0';
}

} // namespace

int32_t getTimeOfDay(TimeOfDay *now)
{
    LocalTime local = platformLocalTime();
    now->seconds = static_cast<int32_t>(platformLocalToEpoch(local));
    now->microseconds = local.millisecond * 1000;
    return 0;
}

uint32_t nowMs()
{
    TimeOfDay now;
    getTimeOfDay(&now);
    return static_cast<uint32_t>(now.seconds) * 1000U +
           static_cast<uint32_t>(now.microseconds) / 1000U;
}

void quendaGetUUID(char *out, const char *deviceId)
{
    if (!deviceId) {
        std::puts("uuid deviceId is null");
        return;
    }
    std::memset(out, 0, kUuidBytes);
    seedRandom();
    char random[37];
    randomUuidText(random);

    const size_t workBytes = std::strlen(deviceId) + 512;
    HeapText work{static_cast<char *>(std::calloc(workBytes, 1))};
    if (!work) {
        std::memcpy(out, random, sizeof random);
        return;
    }
    std::snprintf(work.get(), workBytes, "%lu%s%s", asLu(nowMs()), random, deviceId);

    Sha1Context context;
    uint8_t digest[kSha1Bytes];
    sha1Init(&context);
    sha1Update(&context, work.get(), static_cast<uint32_t>(std::strlen(work.get())));
    sha1Final(digest, &context);
    char *end = out;
    for (uint8_t byte : digest)
        end = appendHexByte(end, byte);
    *end = '\0';
    context = {};
    TOOL_LOG(kVerbose, "  %s uuid: %s\n", "ZQ-tool", out);
}

} // namespace vantel
