// Capture files: raw copies of the audio that passes through a node, plain PCM without a header.
//
// A node writes only its own captures, on its own thread. Files are opened for each chunk and
// closed again; nothing here truncates or removes one.
#pragma once

#include "src/node/node_log.h"
#include "tools/quenda_tool.h"

#include <cstdint>
#include <string>

namespace vantel
{

// Whose captures they are; the texts outlive the calls.
struct CaptureOwner {
    NodeLog log;
    const char *word; // "vad" or "asr": folder below the cache, and word of the log lines
};

// What all names made at one moment share.
struct CaptureStamp {
    uint32_t milliseconds;
    char id[kUuidBytes];
};

CaptureStamp captureStamp(const char *deviceId);

// Makes the folder of the owner's captures below the home path, and logs how that went: 0, or -1.
int32_t createCaptureFolder(const CaptureOwner &owner, const std::string &homePath);

// The path of one capture file; `suffix` is what follows the identifier, without ".pcm".
std::string captureName(const CaptureOwner &owner, const std::string &homePath,
                        const CaptureStamp &stamp, const char *suffix);

// Appends to the file, which is made when it is absent; a chunk that cannot be written is lost and
// logged. `bytes` may be null only with count 0.
void appendCapture(const CaptureOwner &owner, const std::string &path, const void *bytes,
                   uint32_t count);

} // namespace vantel
