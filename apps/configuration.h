// What an instance of the tool is made with.
#pragma once

#include "apps/commands.h"
#include "tools/json.h"

#include <string>

namespace vantel::app
{

struct Configuration {
    Json parameters;     // of vantelNew
    Json initialisation; // of vantelInit
};

// The object in a configuration's file; null, and why, when it cannot be used.
Json readConfiguration(const std::string &path, std::string *error);

// Reads the configuration and the grammar that the options name, or takes the built-in ones. False,
// and why, when they cannot be used.
bool loadConfiguration(const RunOptions &options, Configuration *out, std::string *error);

} // namespace vantel::app
