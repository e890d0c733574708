// What a host can do to an instance, and what it can say, sense and nonsense.
#pragma once

#include "include/vantel/vantel.h"

#include <random>
#include <string>

namespace stress
{

using Random = std::mt19937;

inline size_t below(Random &random, size_t bound)
{
    return std::uniform_int_distribution<size_t>{0, bound - 1}(random);
}

template <typename T, size_t size> const T &anyOf(Random &random, const T (&all)[size])
{
    return all[below(random, size)];
}

constexpr const char *kTopics[] = {
#include "all_topics.inc"
};

constexpr const char *kPaths[] = {"/localVad/start", "/localVad/stop", "/localDms/start",
                                  "/localDms/stop",  "/localVad/x",    "/localProcessor/x",
                                  "/localAgent/x",   "/nobody/x",      "nonsense"};

constexpr const char *kTexts[] = {
    nullptr,
    "",
    "{}",
    "[]",
    "null",
    "7",
    "{",
    "\"",
    "\xff\xfe{}",
    R"({"operation":"start"})",
    R"({"operation":"stop"})",
    R"({"operation":"start","module":"dm"})",
    R"({"operation":7})",
    R"({"text":"hello"})",
    R"({"text":""})",
    R"({"task":"a","intent":"b","slots":{}})",
    R"({"skillId":"1","task":"a","intent":"b","slots":{"x":["y"]}})",
    R"({"words":"hello"})",
    R"({"text":"hello","priority":"1"})",
    R"({"status":1,"offset":3200})",
    R"({"status":2,"offset":-2147483648})",
    R"({"status":"begin"})",
    R"({"status":"end"})",
    R"({"status":"silence"})",
    R"({"status":"true"})",
    R"({"dm":{"nlg":"yes","shouldEndSession":true}})",
    R"({"dm":{"nlg":"go on","shouldEndSession":false,"speak":{"text":"x"}}})",
    R"({"dm":{"command":{"api":"x"},"dataFrom":"native","intentName":"i"}})",
    R"({"dm":[{"dm":{"dm":{}}}],"speakUrl":[],"error":{"errId":"x"}})",
    R"({"errId":-7199,"errMsg":"x"})",
    R"({"errId":"x","errMsg":{}})",
    R"({"wakeupWord":"你好","status":"wakeup"})",
    R"({"text":"x","eof":1,"pinyin":"x"})",
    R"({"var":"x","eof":0})",
    R"({"vad":{"pauseTime":-1,"timeout":0},"asr":{"confidence":"x"}})",
    R"({"snrThreshold":1e308,"confidence":-1e308})",
    R"({"dmTimeOut":-1,"asrMaxText":-1})",
    R"([{"wakeupWord":"你好","pinyin":"ni hao","thresh":"0.1","type":"major"}])",
    R"([{"action":"insert","vocabName":"a","contents":["b"],"addOrDel":"add"}])",
    R"({"keyWords":"你好小车"})",
    R"({"option":"set","settings":{"location":{"city":"x"}}})",
    R"([[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[[]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]]])",
};

using Text = int32_t (*)(void *, const char *);
constexpr Text kTextOperations[] = {
    vantelSetWakeupWords, vantelEvaluateKeyWords,       vantelStopDialogParams,
    vantelInputText,      vantelTriggerIntent,          vantelSetContextSync,
    vantelSpeak,          vantelSetCustomAudio,         vantelSetParams,
    vantelOperateVocabs,  vantelSystemSettings,         vantelSkillSettings,
    vantelNotifyTTSEnd,   vantelFeedCustomTTSDataBegin, vantelFeedCustomTTSDataEnd,
    vantelOperateOauth,   vantelQXFindDevice,           vantelQXDownload,
    vantelQXDFU,          vantelQXDownloadToDFU,        vantelQXReset,
    vantelQXSetCustomNlg, vantelQXOperateInfo,          vantelStartFace,
    vantelStopFace,       vantelCloudVprRegister,       vantelCloudVprUnregister,
    vantelCloudVprVerify,
};
using Plain = int32_t (*)(void *);
constexpr Plain kPlainOperations[] = {
    vantelEnableWakeup,   vantelDisableWakeup, vantelStartExtendsp, vantelStopExtendsp,
    vantelStartListening, vantelStopListening, vantelStartDialog,   vantelStopDialog,
};

inline void anyOperation(Random &random, void *handle)
{
    static const std::string pcm(64000, 'p');
    const auto length = static_cast<int32_t>(below(random, 6400)) - 1;
    switch (below(random, 8)) {
    case 0:
    case 1:
        anyOf(random, kTextOperations)(handle, anyOf(random, kTexts));
        break;
    case 2:
        anyOf(random, kPlainOperations)(handle);
        break;
    case 3:
        vantelFeedCustomTTSData(handle, pcm.data(), length);
        break;
    case 4:
        vantelFeedImage(handle, pcm.data(), length, 1, 2, 3);
        break;
    default:
        vantelFeedData(handle, pcm.data(), length);
    }
}

} // namespace stress
