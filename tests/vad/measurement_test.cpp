// The measurement of a turn: what is taken as silence and voice, and what becomes of it.
#include "tests/vad/vad_bench.h"
#include "tools/json.h"

#include <cmath>

using namespace scripted;

namespace
{

constexpr char kPause300[] = R"({"vad":{}})";
const std::string kSpoken = noise(16000, 20) + noise(16000, 9000) + noise(8000, 20);

class Measurement : public VadBench
{
protected:
    void say(const Lines &statuses)
    {
        for (const std::string &status : statuses)
            emit("ostrel_vad_stop", 0, status);
    }
    void tellWhileRunning(const Lines &statuses)
    {
        settle();
        for (const std::string &status : statuses)
            detect(0, status);
        send("sys.localRecorder.pcm", "");
    }
    // A turn that is fed in one piece, with what the detector says once the piece is heard.
    void turn(const std::string &audio, const Lines &statuses)
    {
        beginMeasurement();
        start();
        feed(audio);
        say(statuses);
        stop();
        endMeasurement();
    }

    std::vector<int> errors()
    {
        std::vector<int> ids;
        for (const std::string &entry : traceOf("vantel.error "))
            ids.push_back(std::stoi(entry.substr(entry.find(':') + 1)));
        return ids;
    }
    // `{"silenceLen":1,"voiceLen":2` of the latest result.
    std::string lengths()
    {
        const Lines results = traceOf("snr.result ");
        if (results.empty()) return "none";
        const size_t begin = results.back().find('{');
        return results.back().substr(begin, results.back().find(",\"snr\"") - begin);
    }
};

TEST_F(Measurement, ReasonsAgainstAMeasurementAreReportedOrIgnored)
{
    const std::string quiet = noise(16000, 20);
    const std::string constant = noise(16000, 0);
    struct Case {
        const char *name;
        std::string audio;
        Lines statuses;
        std::vector<int> errors; // the last one is of a following turn without audio
    };
    constexpr int kNoVoice = VANTEL_ERROR_SNR_NO_VOICE;
    constexpr int kNoSilence = VANTEL_ERROR_SNR_NO_SILENCE;
    constexpr int kNoRatio = VANTEL_ERROR_SNR_CORE;
    const Case cases[] = {
        {"nobody spoke", quiet, {}, {kNoVoice, kNoVoice}},
        {"speech from the first byte goes on", quiet, {began(0)}, {kNoSilence, kNoVoice}},
        {"speech from the first byte, no pause",
         quiet,
         {began(0), ended(32000)},
         {kNoSilence, kNoVoice}},
        {"speech has only just begun", quiet, {began(32000)}, {kNoVoice}},
        // A measurement that was made leaves open whether speech goes on.
        {"voice without deviation", quiet + constant, {began(32000)}, {kNoRatio, kNoSilence}},
        {"voice of one sample", quiet, {began(31998)}, {kNoRatio, kNoSilence}},
        {"voice as loud as the silence",
         quiet + quiet,
         {began(32000)},
         {VANTEL_ERROR_SNR_CONFIDENCE, kNoSilence}},
    };
    for (const Case &one : cases) {
        begin(R"({"vad":{"pauseTime":0}})");
        turn(one.audio, one.statuses);
        turn("", {});
        EXPECT_EQ(errors(), one.errors) << one.name;
        EXPECT_EQ(lengths(), "none") << one.name;
    }
}

TEST_F(Measurement, SpeechThatGoesOnIsVoiceUpToTheEndOfTheAudio)
{
    begin(kPause300);
    turn(kSpoken, {began(32000)});
    EXPECT_EQ(lengths(), R"({"silenceLen":32000,"voiceLen":48000)");
}

TEST_F(Measurement, FullModeTakesEachSilenceOnce)
{
    const Lines statuses = {began(32000), ended(73600), began(80000)};
    begin(R"({"vad":{"fullMode":true}})");
    turn(kSpoken + noise(4000, 20), statuses);
    EXPECT_EQ(logged("ZQ-localVad 64000 16000"), 1U);
    EXPECT_EQ(lengths(), R"({"silenceLen":48000,"voiceLen":32000)");
    begin(kPause300);
    turn(kSpoken + noise(4000, 20), statuses);
    EXPECT_EQ(lengths(), R"({"silenceLen":121600,"voiceLen":32000)");
}

// What the buffer lost or kept while the detector ran on does not move what is taken from it.
TEST_F(Measurement, PositionsAreRightWhateverTheBufferLostWhenTheDetectorSaysWhatItWasFed)
{
    const std::string quiet = noise(16000, 20);
    const auto spoken = [](int32_t before) { // behind so many bytes of the same start
        return Lines{began(before + 32000, before + 80000), ended(before + 73600, before + 80000)};
    };
    const std::string both = R"({"silenceLen":41600,"voiceLen":32000)";
    for (const char *configuration :
         {R"({"vad":{"timeout":200000}})", R"({"vad":{"timeout":200000,"fullMode":1}})"}) {
        begin(configuration);
        beginMeasurement();
        start();
        feed(quiet);
        advance(200000); // empties it
        EXPECT_EQ(logged("vad timeout reset snr buffer"), 1U);
        feed(kSpoken);
        say(spoken(32000));
        send("sys.localVad.ctrl", R"({"operation":"stop"})");
        endMeasurement();
        EXPECT_EQ(lengths(), both);

        turn(quiet, {}); // nobody spoke; and one that is not measured
        start();
        feed(quiet + noise(1000, 9000));
        stop();
        turn(kSpoken, spoken(0));
        EXPECT_EQ(lengths(), both);

        // The measurement emptied it while the detector runs on, as in full duplex.
        beginMeasurement();
        start();
        for (int32_t before : {0, 80000}) {
            feed(kSpoken);
            tellWhileRunning(spoken(before));
            endMeasurement();
            EXPECT_EQ(lengths(), both);
            beginMeasurement();
        }
        // Speech has begun before that: what is left of it counts, and its pause is the silence.
        feed(kSpoken.substr(32000));
        tellWhileRunning({began(150000, 208000), ended(201600, 208000)});
        endMeasurement();
        EXPECT_EQ(lengths(), R"({"silenceLen":9600,"voiceLen":32000)");
        EXPECT_EQ(logged("offset inaccuracy"), 0U);
        EXPECT_EQ(errors(), std::vector<int>{-7395});
    }
}

// What the processor asks for meets what the detector says next, in either order.
TEST_F(Measurement, WhatMeetsTheNextSpeechTakesNoMoreThanItsBegin)
{
    const std::string begins = kSpoken.substr(0, 48000);
    const std::string ends = kSpoken.substr(48000);
    const auto results = [&] { return traceOf("snr.result").size(); };
    const auto requests = {
        std::function{[&] { // the measurement of the speech before
            endMeasurement();
            beginMeasurement();
        }},
        std::function{[&] { // a timer that is set anew, and expires where it is not killed
            send("sys.localProcessor.TimerCtrl", R"({"operation":"start"})");
            advance(150000);
        }}};
    for (const auto &request : requests) {
        for (bool isFirst : {true, false}) {
            begin(R"({"vad":{"timeout":200000,"fullMode":1}})");
            beginMeasurement();
            start();
            feed(kSpoken);
            tellWhileRunning({began(32000, 80000), ended(73600, 80000)});
            if (isFirst) request();
            feed(begins);
            tellWhileRunning({began(112000, 128000)});
            if (!isFirst) request();
            advance(100000);
            feed(ends);
            tellWhileRunning({ended(153600, 160000)});
            const size_t before = results();
            endMeasurement();
            EXPECT_EQ(results(), before + 1) << isFirst;
            EXPECT_EQ(errors(), std::vector<int>{}) << isFirst;
        }
    }
}

TEST_F(Measurement, ARatioAtTheThresholdPassesAndOneBelowDoesNot)
{
    const auto setThreshold = [&](float threshold) {
        char text[80];
        snprintf(text, sizeof text, R"({"snr":{"confidence":%.9g}})",
                 static_cast<double>(threshold));
        send("api.localAgent.setParams", text);
    };
    const std::string measured = "snr.result ";
    begin(kPause300);
    turn(kSpoken, {began(32000), ended(73600)});
    const Lines results = traceOf(measured);
    ASSERT_EQ(results.size(), 1U);
    const auto result = vantel::jsonParse(results[0].substr(measured.size()).c_str());
    const float ratio = static_cast<float>(vantel::jsonMember(result.get(), "snr")->valuedouble);
    setThreshold(ratio);
    turn(kSpoken, {began(32000), ended(73600)});
    EXPECT_EQ(traceOf(measured).size(), 2U);
    setThreshold(std::nextafter(ratio, 1000.0F));
    turn(kSpoken, {began(32000), ended(73600)});
    EXPECT_EQ(traceOf(measured).size(), 2U);
    EXPECT_EQ(errors(), std::vector<int>{VANTEL_ERROR_SNR_CONFIDENCE});
}

TEST_F(Measurement, AnEndWithoutABeginKeepsTheBuffers)
{
    begin(kPause300);
    start();
    feed(kSpoken);
    endMeasurement();
    say({began(32000), ended(73600)});
    stop();
    endMeasurement();
    EXPECT_EQ(logged("reset speech"), 0U);
    beginMeasurement();
    endMeasurement();
    EXPECT_EQ(lengths(), R"({"silenceLen":41600,"voiceLen":32000)");
    endMeasurement();
    EXPECT_EQ(traceOf("snr.result").size(), 1U);
}

} // namespace
