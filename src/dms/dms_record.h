// The DMS node's record, and what the node's files share.
//
// Everything here runs on the node's thread, except dmsConfigure and ldmNew, which run before that
// thread exists, and ldmExit, which runs after its end. The recogniser's callback comes from inside
// its start, feed and stop, on the same thread.
#pragma once

#include "contracts/ostrel.h"
#include "src/agent/error_report.h"
#include "src/dms/dms.h"
#include "src/node/instance.h"
#include "src/node/node_log.h"
#include "src/node/node_loop.h"
#include "src/node/pcm_capture.h"
#include "tools/json.h"
#include "tools/quenda_mk_thread.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#define DMS_LOG(level, ...) VANTEL_LOG(kDmsLog.source, level, __VA_ARGS__)
#define LDM_LOG(level, ...) VANTEL_LOG("src/dms/ldm", level, __VA_ARGS__)

namespace vantel::dms
{

constexpr char kDmsTag[] = "ZQ-localDms";
constexpr NodeLog kDmsLog = {"src/dms/dms", kDmsTag};
constexpr CaptureOwner kAsrCaptures = {kDmsLog, "asr"};
constexpr char kLdmTag[] = "ZQ-localDms-ldm";

constexpr char kDefaultAsrEnv[] = R"({"env":"use_pinyin=1;use_xbnf_rec=1;"})";

enum class DmsState : int32_t { created = 0, started = 1, stopped = 2 };

struct RecogniserDelete {
    void operator()(void *recogniser) const { ostrel_asr_delete(recogniser); }
};

using Recogniser = std::unique_ptr<void, RecogniserDelete>;

struct DmsRecord {
    ThreadRecord thread; // first: the record is handed to the thread operations
    // Set before the node's thread starts, constant afterwards.
    void *bus = nullptr;
    Instance *instance = nullptr;
    HeapText configuration; // empty when the instance has none
    std::string deviceId = "default";
    std::string homePath;
    std::optional<std::string> asrEnv; // start text of the recogniser; none without configuration
    bool cachePcm = false;             // only with a home path
    bool earlyEnd = false;             // the recogniser may end an utterance by itself
    bool fullDuplex = false;
    int32_t retryTimes = 0;
    Recogniser recogniser; // empty when there is none
    // Touched by the node's thread only.
    void *node = nullptr;
    HeldReports held;
    DmsState state = DmsState::created;
    bool isFeeding = false;             // a result now comes before the end of speech
    std::optional<std::string> subsets; // tails of the wakeup word, joined by ","
    std::string asrCapture;             // path; empty before the first start
    int32_t retryCount = 0;             // failed results in a row
    float asrConfidence = 0.55F;        // the lowest that is accepted
    // Read by the starting thread, written by the node's.
    std::atomic<int32_t> running{0};
};

inline const char *textOrNull(const std::optional<std::string> &text)
{
    return text ? text->c_str() : nullptr;
}

// dms_config.cpp: reads the configuration text (null: nothing is read) and makes the recogniser.
void dmsConfigure(DmsRecord *record, const char *configuration);

// asr_env.cpp: the recogniser's start text out of the configuration's "env", an object or array.
std::string buildAsrEnv(const cJSON *env);

// dms_messages.cpp: what the node hears and answers.
extern const NodeSpec kDmsNode;

// wakeup_tails.cpp
// Reads "wakeupWord" and "subsets" of the start parameters (null or not JSON: neither) and replaces
// the tails held so far.
void _getWakeupWordsSets(DmsRecord *record, const char *params);
// The text without the longest item of `tails` (joined by ",") that begins it.
std::string_view withoutWakeupTail(std::string_view text, std::string_view tails);

// ldm.cpp: the recogniser. Without one the engine is not called and the result is 0.
// Texts may be null. -1 when the grammar does not compile, or there is neither grammar nor
// recogniser; the node runs on all the same.
int32_t ldmNew(DmsRecord *record, const char *grammarText, const char *recogniserText);
int32_t ldmStart(DmsRecord *record, const char *startText);
int32_t ldmStop(DmsRecord *record);
int32_t ldmReset(DmsRecord *record);
int32_t ldmFeed(DmsRecord *record, const void *pcm, int32_t bytes);

// asr_result.cpp: the recogniser's callback and the reading of one result object.
int32_t asrHandler(void *user, int32_t kind, const void *data, int32_t length);

constexpr int32_t kAsrLowConfidence = -1;
constexpr int32_t kAsrNoText = -2;
// Fills `output`, and for a final result `decision`; on failure both stay as they were. `label`
// names the recogniser in the log. 0, kAsrLowConfidence or kAsrNoText. `result` may be of any type.
int32_t parseAsrResult(const DmsRecord *record, const cJSON *result, cJSON *output,
                       HeapText *decision, const char *label);

} // namespace vantel::dms
