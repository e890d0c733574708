// The tool's commands. Each returns the program's exit code.
#pragma once

#include <string>
#include <vector>

namespace vantel::app
{

constexpr int kExitRecognised = 0; // or simply: done
constexpr int kExitError = 1;
constexpr int kExitNothingRecognised = 2;

struct RunOptions {
    std::string configurationPath; // empty: the built-in configuration
    std::string grammarPath;       // empty: the configuration's grammar
    std::string language = "en";   // of the built-in grammar
    std::string logFolder;         // empty: no log
    std::vector<std::string> audioPaths;
    bool useMicrophone = false;
    bool listDevices = false;
    int device = -1; // the system's default
    bool isFast = false;
    bool isJson = false;
};

// Runs dialogs over recordings or the microphone and shows every event.
int runCommand(const RunOptions &options);

// Compiles a grammar and shows what is wrong with it.
int grammarCheckCommand(const std::string &path);

} // namespace vantel::app
