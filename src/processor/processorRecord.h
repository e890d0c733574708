// The processor's record, and what the node's files share.
//
// Everything runs on the node's thread, one callback at a time, except the constructor, start and
// stop. Texts that callbacks hand in are zero-terminated and borrowed; any of them may be null.
#pragma once

#include "contracts/quillon.h"
#include "src/node/node_log.h"
#include "src/node/node_loop.h"
#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "src/processor/processor.h"
#include "tools/heap_text.h"
#include "tools/log.h"
#include "tools/quenda_mk_thread.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#define PROCESSOR_LOG(level, ...) VANTEL_LOG(kProcessorLog.source, level, __VA_ARGS__)

namespace vantel::processor
{

constexpr char kProcessorTag[] = "ZQ-localProcessor";
constexpr NodeLog kProcessorLog = {"src/processor/processor", kProcessorTag};

enum class DialogStatus : int32_t { silence = 1, listening = 2, understanding = 4, speaking = 8 };

// Bits of ProcessorRecord::flags.
enum ProcessorFlags : uint32_t {
    kListenRequested = 0x1, // a listening-only turn of the host runs
    kAsrDisableVad = 0x2,
    kVprDisableVad = 0x4,
    kAsrResConfigured = 0x10,
    kOneshotEnabled = 0x20,
    kNetUp = 0x200,
    kCnttsPrivilege = 0x400,
    kCustomTtsActive = 0x800, // the host feeds audio of its own
    kVadFullMode = 0x1000,
    kFullDuplex = 0x2000,
    kWakeupEnabled = 0x8000,
    kStreamData = 0x10000,
};

constexpr int32_t kNoTimer = -1;
constexpr int32_t kUnset = -1;

struct ProcessorRecord {
    ThreadRecord thread; // first: the record is handed to the thread operations
    void *bus = nullptr;
    void *node = nullptr; // written on the node's thread before `running` is set
    Instance *instance = nullptr;
    // Read by the starting thread, written by the node's.
    std::atomic<int32_t> running{0};
    HeapText config; // empty when the instance has none
    // Set by the configuration, and touched by the node's thread only from then on.
    int32_t shouldEndSession = 1; // 1: the dialog ends after the current turn
    uint32_t flags = 0;           // of ProcessorFlags
    int32_t greetImmediate = 0;
    int32_t dmTimerId = kNoTimer; // dm or skill timer
    DialogStatus status = DialogStatus::silence;
    HeapText oneshotText; // wakeup result that waits for the command behind the wake word
    int32_t oneshotTimeout = 600;
    int32_t oneshotTimerId = kNoTimer;
    int32_t cancelDialogTimerId = kNoTimer;
    int32_t keepAliveTimerId = kNoTimer;
    int32_t keepAliveTimeout = 120000;
    HeapText sessionId; // of the current cloud dialog
    int32_t updateSessionTimeout = kUnset;
    int32_t asrMaxTextLength = kUnset;
    int32_t dmTimeOut = 10000;
    int32_t checkValidDmTimerId = kNoTimer;
    int32_t vadTimeout = 10000;
    // Text of the recognition that completes a listening-only turn, until its dialog result, which
    // is ignored, has come as well: the turn may be over before.
    std::optional<std::string> listenedText;
};

inline bool hasFlag(const ProcessorRecord *record, uint32_t flags)
{
    return (record->flags & flags) != 0;
}

inline void setFlag(ProcessorRecord *record, ProcessorFlags flag, bool isOn)
{
    record->flags = isOn ? record->flags | flag : record->flags & ~uint32_t{flag};
}

inline bool isFullDuplex(const ProcessorRecord *record)
{
    return hasFlag(record, kFullDuplex);
}

constexpr char kOperationStart[] = R"({"operation":"start"})";
constexpr char kOperationStop[] = R"({"operation":"stop"})";

// processorConfig.cpp: reads the instance's configuration text (null: nothing is read or logged).
void readConfiguration(ProcessorRecord *record, const char *configuration);

// processorRoutes.cpp: the node as the bus knows it, and the way to the host.
extern const NodeSpec kProcessorNode;

// A topic as the bus delivered it; `data` is null only with length 0.
struct Message {
    const char *topic;
    const void *data;
    uint32_t length;
    const char *text() const { return static_cast<const char *>(data); }
};

// Whether the rows of a table stand in the order of the values that index it.
template <typename Row, size_t rowCount, typename Index>
consteval bool isIndexedBy(Index Row::*index, const Row (&table)[rowCount])
{
    for (size_t row = 0; row < rowCount; ++row) {
        if (table[row].*index != static_cast<Index>(row)) return false;
    }
    return rowCount == static_cast<size_t>(Index::count);
}

// Everything that reaches the host; each has its row in the table of host events.
enum class Delivery : uint8_t {
    wakeup,
    asr,
    dmOutput,
    error,
    snr,
    doa,
    vprRuntime,
    recorderCtrl,
    dmCommandApi,
    wkpCommandApi,
    dmNativeApi,
    cttsConfig,
    ttsSpeakUrl,
    playerWait,
    playerBegin,
    playerCtrl,
    vocabs,
    cinfoV2,
    net,
    mediaList,
    oauth,
    rtOutput,
    sentence,
    evaluateKws,
    face,
    vprRegister,
    vprUnregister,
    vprVerify,
    vprAsr,
    status,
    oneshot,
    checkValidDm,
    deviceProtocol,
    deviceDoa,
    deviceInfo,
    count,
};

// Calls the host and logs it; nothing at all without a callback. Returns the host's answer where
// the event defines a use for one, else an empty text.
HeapText deliverToHost(ProcessorRecord *record, Delivery delivery, const Message &message);
HeapText deliverText(ProcessorRecord *record, Delivery delivery, const char *text);

// Whether a host's answer is JSON whose "ignore" begins with "true".
bool asksToIgnore(const char *answer);

// processorStatus.cpp: the one function that assigns the status, and reports it even when it stays
// the same; changeStatus does nothing then.
void _updateDmsStatus(ProcessorRecord *record, DialogStatus status);
void changeStatus(ProcessorRecord *record, DialogStatus status);

// processorTimers.cpp: one timer of a kind exists at a time; dm and skill timer share one id.
enum class Timer : uint8_t { dm, skill, oneshot, cancelDialog, keepAlive, checkValidDm, count };

void setTimer(ProcessorRecord *record, Timer timer);
void killTimer(ProcessorRecord *record, Timer timer); // does nothing when none runs
void restartTimer(ProcessorRecord *record, Timer timer);
bool isTimerLive(const ProcessorRecord *record, Timer timer);
// The dm or skill timer and the one-shot timer with its held text; the others stay.
void _killAllTimer(ProcessorRecord *record);

// processorInterpret.cpp: decides by a text how the dialog goes on; 0.
enum class EventKind : int32_t { wakeup = 101, dmOutput = 102, error = 103, rtOutput = 104 };

int32_t _consoleParseEvent(ProcessorRecord *record, const char *text, EventKind kind);

// processorActions.cpp: fixed sequences of calls and publications. Calls wait for the callee.
void _consoleVadStop(ProcessorRecord *record);
void _consoleDmsReset(ProcessorRecord *record, const char *payload);
void _consoleDmsCancel(ProcessorRecord *record);
void _consoleStopSpeaking(ProcessorRecord *record);
void _consoleWakeupStart(ProcessorRecord *record);
void _consoleStartListening(ProcessorRecord *record, const char *payload);

enum class Next : uint8_t { stay, understand };
void _consoleStopListening(ProcessorRecord *record, Next next);

void _consoleSnrStopListening(ProcessorRecord *record);
void _consoleSyncContextDmTimeoutAsrMaxText(ProcessorRecord *record, const char *callerText);
void _consoleSyncPlayerEnd(ProcessorRecord *record);
// Does nothing while the wakeup is enabled.
void restartWakeup(ProcessorRecord *record);
// The VAD node keeps the turn's time in full duplex; in half duplex nothing is published.
void publishTimerCtrl(ProcessorRecord *record, const char *operation);
void dropSession(ProcessorRecord *record);
char *processorOnCall(void *user, void *node, const char *path, const char *data);

// processorRequests.cpp: what opens and steers a turn.
void onAsrCtrl(ProcessorRecord *record, const Message &message);
void onDialogCtrl(ProcessorRecord *record, const Message &message);
void onWakeupResult(ProcessorRecord *record, const Message &message);
void onVadBegin(ProcessorRecord *record, const Message &message);
void onVadEnd(ProcessorRecord *record, const Message &message);
void onVadTimeout(ProcessorRecord *record, const Message &message);
void onInput(ProcessorRecord *record, const Message &message);
void onSetting(ProcessorRecord *record, const Message &message);
void onSetContextSync(ProcessorRecord *record, const Message &message);
void onExtendspCtrl(ProcessorRecord *record, const Message &message);
void onAgentExit(ProcessorRecord *record, const Message &message);

// processorSpeech.cpp: what the host says or plays itself.
void onSpeak(ProcessorRecord *record, const Message &message);
void onCustomDataBegin(ProcessorRecord *record, const Message &message);
void onCustomData(ProcessorRecord *record, const Message &message);
void onCustomDataEnd(ProcessorRecord *record, const Message &message);
void onPlayerBegin(ProcessorRecord *record, const Message &message);
void onPlayerWait(ProcessorRecord *record, const Message &message);

// processorResults.cpp: what a turn brings back.
void onAsrResult(ProcessorRecord *record, const Message &message);
void onAsrEnd(ProcessorRecord *record, const Message &message);
void onLocalAsrResult(ProcessorRecord *record, const Message &message);
void onLocalDmResult(ProcessorRecord *record, const Message &message);
void onDmsOutput(ProcessorRecord *record, const Message &message);
void onRtOutput(ProcessorRecord *record, const Message &message);
void onError(ProcessorRecord *record, const Message &message);
void onNativeApi(ProcessorRecord *record, const Message &message);
void onNetStatus(ProcessorRecord *record, const Message &message);
void onAuthResult(ProcessorRecord *record, const Message &message);
void onPcm(ProcessorRecord *record, const Message &message);

} // namespace vantel::processor
