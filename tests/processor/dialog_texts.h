// The payloads and sequences that the stories of dialogs are told in.
#pragma once

#include "tests/processor/processor_node.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>

constexpr char kStart[] = R"({"operation":"start"})";
constexpr char kStop[] = R"({"operation":"stop"})";
constexpr char kRecorderStart[] = R"({"operation":"start", "module":"dm"})";
constexpr char kRecorderStop[] = R"({"operation":"stop", "module":"dm"})";
constexpr char kEnding[] = R"({"dm":{"nlg":"","shouldEndSession":true}})";
constexpr char kEndingSpoken[] = R"({"dm":{"nlg":"再见","shouldEndSession":true}})";
constexpr char kContinuing[] = R"({"dm":{"nlg":"","shouldEndSession":false},"sessionId":"s1"})";
constexpr char kContinuingSpoken[] =
    R"({"dm":{"nlg":"好的","shouldEndSession":false},"sessionId":"s1"})";

// Long enough that no timer expires by itself while a test runs.
constexpr char kHalfDuplex[] =
    R"({"dmTimeOut":600000,"keepAliveTimeout":1200000,"oneshot":{"timeout":300000}})";
constexpr char kFullDuplex[] = R"({"fullDuplex":"true","vad":{"fullMode":1,"timeout":900000},)"
                               R"("dmTimeOut":600000,"keepAliveTimeout":1200000})";

inline Trace status(const std::string &name)
{
    const std::string report = R"({"status":")" + name + R"("})";
    return {"vantel.status " + report, "1012 " + report};
}

inline Trace listeningBegins(const std::string &payload = "(null)")
{
    return {R"(snr.calculation {"status":"begin"})", "/localVad/start (null)",
            "/localDms/start " + payload, std::string("localRecorder.ctrl ") + kRecorderStart};
}

inline Trace listeningEnds()
{
    return {"/localVad/stop (null)", "/localDms/stop (null)",
            std::string("localRecorder.ctrl ") + kRecorderStop,
            R"(snr.calculation {"status":"end"})"};
}

inline Trace replied(const std::string &reply)
{
    return {"1005 " + reply};
}

inline const Trace kRecorderStarts = {std::string("1011 ") + kRecorderStart};
inline const Trace kRecorderStops = {std::string("1011 ") + kRecorderStop};
inline const Trace kDmsReset = {"localDms.reset (null)",
                                std::string("/localRecorder/stop ") + kRecorderStop};

// What a host and the members outside the library say.
class Dialog : public testing::Test
{
protected:
    void begin(const std::string &configuration, Host host = Host::present)
    {
        node.emplace(configuration, host);
    }
    void startDialog() { node->publish("api.localAgent.dialogCtrl", kStart); }
    void stopDialog() { node->publish("api.localAgent.dialogCtrl", kStop); }
    void startListening() { node->publish("api.localAgent.asrCtrl", kStart); }
    void stopListening() { node->publish("api.localAgent.asrCtrl", kStop); }
    void wakeUp(const std::string &result) { node->publish("sys.localWakeup.result", result); }
    void speechBegins() { node->publish("sys.localVad.begin", R"({"status":1})"); }
    void speechEnds() { node->publish("sys.localVad.end", R"({"status":2})"); }
    void recognised(const std::string &result) { node->publish("sys.asr.result", result); }
    void reply(const std::string &reply) { node->publish("sys.dms.output", reply); }
    void playbackEnds() { node->publishNull("sys.localPlayer.wait"); }
    std::string lastStatus()
    {
        const auto names = node->statuses();
        return names.empty() ? "silence" : names.back();
    }

    std::optional<ProcessorNode> node;
};
