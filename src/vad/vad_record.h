// The VAD node's record, and what the node's files share.
//
// Everything here runs on the node's thread, except vadConfigure, which runs before that thread
// exists. The detector's callback comes from inside its start, feed and stop, on the same thread.
#pragma once

#include "contracts/ostrel.h"
#include "contracts/quillon.h"
#include "src/agent/error_report.h"
#include "src/node/instance.h"
#include "src/node/node_log.h"
#include "src/node/node_loop.h"
#include "src/node/pcm_capture.h"
#include "src/vad/pcm_buffer.h"
#include "src/vad/vad.h"
#include "tools/heap_text.h"
#include "tools/quenda_mk_thread.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#define VAD_LOG(level, ...) VANTEL_LOG(kVadLog.source, level, __VA_ARGS__)

namespace vantel::vad
{

constexpr char kVadTag[] = "ZQ-localVad";
constexpr NodeLog kVadLog = {"src/vad/vad", kVadTag};
constexpr CaptureOwner kVadCaptures = {kVadLog, "vad"};

enum class VadState : int32_t { created = 0, started = 1, stopped = 2 };

// Bits of VadRecord::flags.
enum VadFlag : int32_t {
    kOneshotPending = 0x1, // a wakeup result came; the pre-roll waits for the begin of speech
    kOneshotEnabled = 0x2,
    kCachePcm = 0x4,
    kFullMode = 0x10,
    kInSpeech = 0x80,
    kSnrActive = 0x100,
};

enum class VadCapture : size_t { vad, onshot, feedVad, snrSilence, snrVoice, count };

constexpr int32_t kNoTimer = -1;
constexpr int32_t kBytesPerMs = 32;
constexpr int32_t kSampleBytes = 2;
constexpr int32_t kDefaultPauseMs = 300;
constexpr int32_t kDefaultTimeoutMs = 10000;

struct DetectorDelete {
    void operator()(void *detector) const { ostrel_vad_delete(detector); }
};

using Detector = std::unique_ptr<void, DetectorDelete>;

struct VadRecord {
    ThreadRecord thread; // first: the record is handed to the thread operations
    // Set before the node's thread starts, constant afterwards.
    void *bus = nullptr;
    Detector detector; // empty when there is none
    Instance *instance = nullptr;
    HeapText configuration; // empty when the instance has none
    std::string deviceId = "default";
    std::string homePath;
    int32_t pauseMs = kDefaultPauseMs;
    int32_t timeoutMs = kDefaultTimeoutMs;
    // Touched by the node's thread only.
    void *node = nullptr;
    HeldReports held;
    VadState state = VadState::created;
    int32_t timerId = kNoTimer;
    int32_t flags = 0;
    float snrThreshold = 8.67F;             // dB
    std::unique_ptr<OneshotBuffer> oneshot; // null without a configuration
    PcmBuffer silence;
    PcmBuffer speech; // all that the detector was fed
    PcmBuffer voice;
    std::array<std::string, static_cast<size_t>(VadCapture::count)> captures; // paths
    // Read by the starting thread, written by the node's.
    std::atomic<int32_t> running{0};
};

inline bool hasFlag(const VadRecord *record, VadFlag flag)
{
    return (record->flags & flag) != 0;
}

inline void setFlag(VadRecord *record, VadFlag flag)
{
    record->flags |= flag;
}

inline void clearFlag(VadRecord *record, VadFlag flag)
{
    record->flags &= ~flag;
}

// vad_config.cpp: reads the configuration text (null: nothing is read) and makes the detector.
void vadConfigure(VadRecord *record, const char *configuration);

// vad.cpp: the operations of the detector. _vadStop needs a detector, the others do nothing
// without.
void vadStartTurn(VadRecord *record); // a start request, whatever the state
int32_t _vadStop(VadRecord *record);
int32_t _vadFeed(VadRecord *record, const void *pcm, int32_t bytes);
void armVadTimer(VadRecord *record, int32_t timeoutMs);
void killVadTimer(VadRecord *record); // does nothing when none runs

// vad_messages.cpp: what the node hears and answers.
extern const NodeSpec kVadNode;

// vad_detector.cpp: the detector's callback.
int32_t vadHandler(void *user, int32_t kind, const void *data, int32_t length);

// vad_buffers.cpp: the measurement buffers. Stretches are cut to what the source holds.
void addSpeech(VadRecord *record, const void *pcm, int32_t bytes);
void addSilence(VadRecord *record, int32_t from, int32_t to); // of the speech buffer
void _cutSnrVoice(VadRecord *record);
void retsetSpeech(VadRecord *record);
void retsetSlience(VadRecord *record);
void retsetVoice(VadRecord *record);

// vad_snr.cpp: "sys.snr.calculation"; a payload may be null.
void vadSnrCalculation(VadRecord *record, const char *payload);

// vad_captures.cpp: the capture files; without capture or a home path both do nothing.
constexpr int32_t kNamesOfStart = 1;
constexpr int32_t kNamesOfMeasurement = 3; // 2 names nothing
void _createCacheVadFileName(VadRecord *record, int32_t kind);
// Appends; does nothing before the capture has a name. `bytes` may be null only with count 0.
void _writeCacheVadFileName(VadRecord *record, const void *bytes, int32_t count,
                            VadCapture capture);

} // namespace vantel::vad
