// The acoustic model's files: where they are and whether a decoder may be given them.
#pragma once

#include <string>

namespace vantel::ostrel
{

constexpr const char *kDefaultDictionary = "en-us/cmudict-en-us.dict";
constexpr const char *kDefaultAcousticModel = "en-us/en-us";

// The path of a file or folder of the speech models: below "model" of the engine's resources, else
// where the system's packages put them. Never empty; it may not exist.
std::string modelFile(const std::string &name);

// Whether the folder holds an acoustic model whose files are whole as far as their headers tell.
// Otherwise the engine's log names the file. The decoder itself ends the process on some of these
// faults, so this is asked first.
bool acousticModelUsable(const std::string &folder);

} // namespace vantel::ostrel
