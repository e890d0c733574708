// The tool's commands. Each returns the program's exit code.
#pragma once

#include "apps/input_text.h"
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
    std::string configurationPath;       // empty: the built-in configuration
    std::string grammarPath;             // empty: the configuration's grammar
    std::string language = "en";         // of the built-in grammar
    std::string logFolder;               // empty: where the configuration says, or nowhere to stay
    std::vector<std::string> audioPaths; // kStandardInput among them
    bool useMicrophone = false;
    bool listDevices = false;
    int device = -1; // the system's default
    bool isFast = false;
    bool isJson = false;
    bool isFullDuplex = false; // the detector runs on from one command to the next
};

// Says on standard error what is wrong. Returns kExitFailure.
int complain(const std::string &what);

// Runs dialogs over recordings or the microphone and shows every event.
int runCommand(const RunOptions &options, Output *output);

struct GrammarOptions {
    std::string configurationPath;      // its "gram" says how words are pronounced; empty: as usual
    std::string path;                   // of the grammar, or kStandardInput
    std::vector<std::string> paths;     // of those to check
    std::vector<std::string> sentences; // to try
};

// Compiles grammars and shows what is wrong with them.
int grammarCheckCommand(const GrammarOptions &options, Output *output);
// Shows what the one grammar makes of sentences: their meaning, or where they leave it.
int grammarTryCommand(const GrammarOptions &options, Output *output);
// Lists its words with their pronunciations.
int grammarWordsCommand(const GrammarOptions &options, Output *output);

// Prints a complete configuration, with a comment on each key unless it is to be plain JSON.
int configExampleCommand(bool isPlain, Output *output);
// Lists the keys of a configuration, one a line.
int configKeysCommand(Output *output);
// Says what is wrong with configurations.
int configCheckCommand(const std::vector<std::string> &paths, Output *output);

} // namespace vantel::app
