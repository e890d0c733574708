// What the nodes log alike, each with its own source path and tag.
#pragma once

#include "tools/json.h"
#include "tools/log.h"

#include <exception>

namespace vantel
{

struct NodeLog {
    const char *source; // path without extension
    const char *tag;    // first argument of every line
};

// Runs the body of a callback out of a C library: no exception leaves it.
template <typename Body> void withoutThrowing(const NodeLog &log, Body body) noexcept
{
    try {
        body();
    } catch (const std::exception &error) {
        VANTEL_LOG(log.source, kError, "  %s %s\n", log.tag, error.what());
    }
}

// The microphone that the configuration tells of.
inline void logMicrophone(const NodeLog &log, const cJSON *configuration)
{
    if (!jsonIs(configuration, "micType", "mono")) return;
    VANTEL_LOG(log.source, kInfo, "  %s micType is mono\n", log.tag);
    if (jsonIs(configuration, "aecMode", "external")) {
        VANTEL_LOG(log.source, kInfo, "  %s aecMode is external\n", log.tag);
    } else {
        VANTEL_LOG(log.source, kInfo, "  %s aecMode is internal\n", log.tag);
    }
}

} // namespace vantel
