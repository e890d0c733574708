// The settings that vantelInit and vantelNew both read from the initialisation configuration.
#pragma once

#include "tools/json.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vantel
{

struct InitSettings {
    int32_t level = 2; // lowest level that is logged, 1 to 5
    int32_t mode = 0;  // 0: a log starts afresh; else it is appended to
    double sizeMb = 20;
    std::optional<std::string> logDirPath; // may be empty
};

// Absent members, and a log directory that is not a string, leave the defaults.
InitSettings readInitSettings(const cJSON *configuration);

// The configuration that vantelInit stored, parsed. std::bad_alloc without memory.
bool hasStoredConfiguration();
Json storedConfiguration();

// Makes the directory with its missing parents; a failure is logged.
void makeDirsLogged(const std::string &path);

} // namespace vantel
