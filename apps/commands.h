// The tool's commands. Each returns the program's exit code.
#pragma once

#include "apps/output.h"

#include <string>
#include <vector>

namespace vantel::app
{

enum ExitCode : int {
    kExitDone = 0, // something was recognised, or what was asked for is done
    kExitFailure = 1,
    kExitNothingRecognised = 2,
    kExitUsage = 3,
};

struct RunOptions {
    std::string configurationPath; // empty: the built-in configuration
    std::string grammarPath;       // empty: the configuration's grammar
    std::string language = "en";   // of the built-in grammar
    std::string logFolder;         // empty: where the configuration says, or nowhere to stay
    std::vector<std::string> audioPaths;
    bool useMicrophone = false;
    bool listDevices = false;
    int device = -1; // the system's default
    bool isFast = false;
    bool isJson = false;
};

// Says on standard error what is wrong. Returns kExitFailure.
int complain(const std::string &what);

// Runs dialogs over recordings or the microphone and shows every event.
int runCommand(const RunOptions &options, Output *output);

// Compiles a grammar and shows what is wrong with it.
int grammarCheckCommand(const std::string &path, Output *output);

} // namespace vantel::app
