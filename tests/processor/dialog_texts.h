// The payloads and sequences that the stories of dialogs are told in.
#pragma once

#include "tests/support/bench.h"

inline const std::string kStart = R"({"operation":"start"})";
inline const std::string kStop = R"({"operation":"stop"})";
inline const std::string kKeepAlive = R"({"operation":"stop","keepAlive":"temporary"})";
inline const std::string kPrivileged = R"({"operation":"start","privilege":"true"})";
inline const std::string kRecorderStart = R"({"operation":"start", "module":"dm"})";
inline const std::string kRecorderStop = R"({"operation":"stop", "module":"dm"})";
inline const std::string kEnding = R"({"dm":{"nlg":"","shouldEndSession":true}})";
inline const std::string kEndingSpoken = R"({"dm":{"nlg":"再见","shouldEndSession":true}})";
inline const std::string kContinuing =
    R"({"dm":{"nlg":"","shouldEndSession":false},"sessionId":"s1"})";
inline const std::string kContinuingSpoken =
    R"({"dm":{"nlg":"好的","shouldEndSession":false},"sessionId":"s1"})";

// Long enough that no timer expires by itself while a test runs.
constexpr char kHalfDuplex[] =
    R"({"dmTimeOut":600000,"keepAliveTimeout":1200000,"oneshot":{"timeout":300000}})";
constexpr char kFullDuplex[] = R"({"fullDuplex":"true","vad":{"fullMode":1,"timeout":900000},)"
                               R"("dmTimeOut":600000,"keepAliveTimeout":1200000})";
constexpr char kOneshot[] = R"({"oneshot":{"enable":"true","timeout":300000}})";

inline Lines status(const std::string &name)
{
    const std::string report = R"({"status":")" + name + R"("})";
    return {"vantel.status " + report, "1012 " + report};
}

inline Lines listeningBegins(const std::string &payload = "(null)")
{
    return {R"(snr.calculation {"status":"begin"})", "/localVad/start (null)",
            "/localDms/start " + payload, "localRecorder.ctrl " + kRecorderStart};
}

inline Lines listeningEnds()
{
    return {"/localVad/stop (null)", "/localDms/stop (null)", "localRecorder.ctrl " + kRecorderStop,
            R"(snr.calculation {"status":"end"})"};
}

inline Lines replied(const std::string &reply)
{
    return {"1005 " + reply};
}

inline const Lines kRecorderStarts = {"1011 " + kRecorderStart};
inline const Lines kRecorderStops = {"1011 " + kRecorderStop};
inline const Lines kPlaybackEnds = {R"(1016 {"status":"end"})"};
inline const Lines kVadStop = {"/localVad/stop (null)"};
inline const Lines kDmsReset = {"localDms.reset (null)", "/localRecorder/stop " + kRecorderStop};

// What a host and the members outside the library say.
class Dialog : public Bench
{
protected:
    Dialog() { initialise(); }
    void begin(const std::string &configuration, Host host = Host::present)
    {
        beginNode(Node::processor, configuration.c_str(), host);
        forget();
    }
    // Each gives the trace of what follows.
    Lines startDialog() { return publish("api.localAgent.dialogCtrl", kStart); }
    Lines stopDialog() { return publish("api.localAgent.dialogCtrl", kStop); }
    Lines startListening() { return publish("api.localAgent.asrCtrl", kStart); }
    Lines stopListening() { return publish("api.localAgent.asrCtrl", kStop); }
    Lines wakeUp(const std::string &result) { return publish("sys.localWakeup.result", result); }
    Lines speechEnds() { return publish("sys.localVad.end", R"({"status":2})"); }
    Lines recognised(const std::string &result) { return publish("sys.asr.result", result); }
    Lines reply(const std::string &reply) { return publish("sys.dms.output", reply); }
    Lines playbackEnds() { return publish("sys.localPlayer.wait", std::nullopt); }
    Lines pass(int32_t milliseconds)
    {
        forget();
        advance(milliseconds);
        return trace();
    }
    // The processor's lines without its tag: "[I]onStart vad".
    Lines log(const std::string &containing = "")
    {
        const std::string tag = "  ZQ-localProcessor ";
        Lines lines = Bench::log(tag);
        for (std::string &line : lines)
            line.erase(3, tag.size());
        std::erase_if(lines,
                      [&](const std::string &line) { return line.find(containing) == line.npos; });
        return lines;
    }
    size_t logged(const std::string &containing) { return log(containing).size(); }
    std::string lastStatus()
    {
        const Lines names = statuses();
        return names.empty() ? "silence" : names.back();
    }
};
