// Durations of configurations and messages, in milliseconds, and what the log says of odd ones.
#pragma once

#include "src/node/node_log.h"

#include <cstdint>

namespace vantel
{

// What is said of a negative duration.
constexpr char kWaitHasNoEnd[] = "this wait has no end";
constexpr char kUsedAsItIs[] = "it is used as it is";

// The member's milliseconds as jsonInt reads them, which are used whatever they are; a warning that
// names it by `name` when they are negative or no number.
inline int32_t readDuration(const NodeLog &log, const cJSON *object, const char *key,
                            const char *name, int32_t fallback,
                            const char *ofNegative = kWaitHasNoEnd)
{
    const int32_t duration = jsonInt(object, key, fallback);
    const cJSON *member = jsonMember(object, key);
    if (!member || (cJSON_IsNumber(member) && duration >= 0)) return duration;
    const HeapText value = jsonPrint(member);
    if (cJSON_IsNumber(member)) {
        VANTEL_LOG(log.source, kWarning, "  %s %s: %s is negative, %s\n", log.tag, name,
                   orNull(value.get()), ofNegative);
    } else {
        VANTEL_LOG(log.source, kWarning, "  %s %s: %s is no number, %d is used\n", log.tag, name,
                   orNull(value.get()), duration);
    }
    return duration;
}

// The same for a timer that sets itself again and again: below 1 ms it would do nothing else, so
// such a member counts as absent, with a warning.
inline int32_t readPeriod(const NodeLog &log, const cJSON *object, const char *key,
                          const char *name, int32_t fallback)
{
    if (jsonInt(object, key, fallback) >= 1) return readDuration(log, object, key, name, fallback);
    const HeapText value = jsonPrint(jsonMember(object, key));
    VANTEL_LOG(log.source, kWarning, "  %s %s: %s is below 1, %d is used\n", log.tag, name,
               orNull(value.get()), fallback);
    return fallback;
}

} // namespace vantel
