// What is one per process in the engine: its configuration, its files, its log.
//
// ostrel_library_load sets it up, ostrel_library_release takes it down; neither may overlap another
// call of the library. Everything here may be called from any thread in between.
#pragma once

#include "tools/json.h"
#include "tools/line_log.h"
#include "tools/read_file.h"

#include <memory>
#include <string>

namespace vantel::ostrel
{

// Results of ostrel_library_load, repeated by ostrel_library_opt(1, 0, 0).
enum LibraryError : int32_t {
    kConfigurationBroken = -9001, // no JSON object
    kResourcesMissing = -9002,    // "resources" names no folder
    kRuntimeBroken = -9003,       // the inference runtime is there but cannot be used
    kModelBroken = -9004,         // a model file is there but cannot be used
};

struct Library {
    Json configuration;          // the object given to ostrel_library_load
    std::string resourcesFolder; // "resources"; empty when it is not configured
};

// The library as it was loaded last; empty before a successful load and after a release. Holding it
// keeps it, so that a later load cannot pull it away.
std::shared_ptr<const Library> library();

// The path of a file or folder that comes with the engine: below "resources", else below the
// installed share/vantel beside the library, else below the build's own. `name` has forward
// slashes. Empty when it is nowhere.
std::string findResource(const std::string &name);

// The engine's own log: "logFile", "logEnable", "level", "mode" and "size" of the configuration.
LineLog &engineLog();

} // namespace vantel::ostrel

// Arguments are not evaluated for a level that is not written. `source` is the path without
// extension; modules wrap this in a macro of their own.
#define ENGINE_LOG(source, level, ...)                                                             \
    do {                                                                                           \
        if (::vantel::lineLogEnabled(&::vantel::ostrel::engineLog(), level))                       \
            ::vantel::lineLogPrint(&::vantel::ostrel::engineLog(), level, source, __LINE__,        \
                                   __VA_ARGS__);                                                   \
    } while (false)
