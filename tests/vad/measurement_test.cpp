// The measurement of a turn: what is taken as silence and voice, and what becomes of it.
#include "tests/vad/pcm.h"
#include "tests/vad/vad_node.h"
#include "tools/json.h"

#include <cmath>
#include <gtest/gtest.h>

using namespace scripted;
using Names = std::vector<std::string>;

namespace
{

class Measurement : public testing::Test
{
protected:
    void SetUp() override { reset(); }

    // A turn that is fed in one piece, with what the detector says once the piece is heard.
    static void turn(VadNode &node, const std::string &audio, const Names &statuses)
    {
        node.beginMeasurement();
        node.start();
        node.feed(audio);
        for (const std::string &status : statuses)
            emit(Part::vad, Moment::stop, 0, status);
        node.stop();
        node.endMeasurement();
    }

    static std::vector<int> errors(VadNode &node)
    {
        std::vector<int> ids;
        for (const std::string &report : node.heardOn("sys.vantel.error"))
            ids.push_back(vantel::jsonInt(vantel::jsonParse(report.c_str()).get(), "errId", 0));
        return ids;
    }

    static std::string lengths(VadNode &node)
    {
        const Names results = node.heardOn("sys.snr.result");
        return results.empty() ? "none" : results.back().substr(0, results.back().find(",\"snr"));
    }
};

constexpr char kPause300[] = R"({"vad":{}})";

std::string spoken()
{
    return noise(16000, 20) + noise(16000, 9000) + noise(8000, 20);
}

TEST_F(Measurement, ReasonsAgainstAMeasurementAreReportedOrIgnored)
{
    const std::string quiet = noise(16000, 20);
    const std::string constant = noise(16000, 0);
    struct Case {
        const char *name;
        std::string audio;
        Names statuses;
        std::vector<int> errors; // the last one is of a following turn without audio
    };
    const Case cases[] = {
        {"nobody spoke", quiet, {}, {-7395, -7395}},
        {"speech from the first byte goes on", quiet, {began(0)}, {-7394, -7395}},
        {"speech from the first byte, no pause", quiet, {began(0), ended(32000)}, {-7394, -7395}},
        {"speech has only just begun", quiet, {began(32000)}, {-7395}},
        // A measurement that was made leaves open whether speech goes on.
        {"voice without deviation", quiet + constant, {began(32000)}, {-7397, -7394}},
        {"voice of one sample", quiet, {began(31998)}, {-7397, -7394}},
        {"voice as loud as the silence", quiet + quiet, {began(32000)}, {-7398, -7394}},
    };
    for (const Case &one : cases) {
        VadNode node{R"({"vad":{"pauseTime":0}})"};
        turn(node, one.audio, one.statuses);
        turn(node, "", {});
        EXPECT_EQ(errors(node), one.errors) << one.name;
        EXPECT_EQ(lengths(node), "none") << one.name;
    }
}

TEST_F(Measurement, SpeechThatGoesOnIsVoiceUpToTheEndOfTheAudio)
{
    VadNode node{kPause300};
    turn(node, spoken(), {began(32000)});
    EXPECT_EQ(lengths(node), R"({"silenceLen":32000,"voiceLen":48000)");
}

TEST_F(Measurement, FullModeTakesEachSilenceOnce)
{
    const Names statuses = {began(32000), ended(73600), began(80000)};
    VadNode full{R"({"vad":{"fullMode":true}})"};
    turn(full, spoken() + noise(4000, 20), statuses);
    EXPECT_EQ(full.logged("ZQ-localVad 64000 16000\n"), 1U);
    EXPECT_EQ(lengths(full), R"({"silenceLen":48000,"voiceLen":32000)");
    VadNode half{kPause300};
    turn(half, spoken() + noise(4000, 20), statuses);
    EXPECT_EQ(lengths(half), R"({"silenceLen":121600,"voiceLen":32000)");
}

TEST_F(Measurement, ARatioAtTheThresholdPassesAndOneBelowDoesNot)
{
    auto setThreshold = [](VadNode &node, float threshold) {
        char text[80];
        snprintf(text, sizeof text, R"({"snr":{"confidence":%.9g}})",
                 static_cast<double>(threshold));
        node.publish("api.localAgent.setParams", text);
    };
    VadNode node{kPause300};
    turn(node, spoken(), {began(32000), ended(73600)});
    const Names results = node.heardOn("sys.snr.result");
    ASSERT_EQ(results.size(), 1U);
    const auto result = vantel::jsonParse(results[0].c_str());
    const float ratio = static_cast<float>(vantel::jsonMember(result.get(), "snr")->valuedouble);
    setThreshold(node, ratio);
    turn(node, spoken(), {began(32000), ended(73600)});
    EXPECT_EQ(node.heardOn("sys.snr.result").size(), 2U);
    setThreshold(node, std::nextafter(ratio, 1000.0F));
    turn(node, spoken(), {began(32000), ended(73600)});
    EXPECT_EQ(node.heardOn("sys.snr.result").size(), 2U);
    EXPECT_EQ(errors(node), std::vector<int>{-7398});
}

TEST_F(Measurement, AnEndWithoutABeginKeepsTheBuffers)
{
    VadNode node{kPause300};
    node.start();
    node.feed(spoken());
    node.endMeasurement();
    for (const std::string &status : {began(32000), ended(73600)})
        emit(Part::vad, Moment::stop, 0, status);
    node.stop();
    node.endMeasurement();
    EXPECT_EQ(node.logged("reset speech"), 0U);
    node.beginMeasurement();
    node.endMeasurement();
    EXPECT_EQ(lengths(node), R"({"silenceLen":41600,"voiceLen":32000)");
    node.endMeasurement();
    EXPECT_EQ(node.heardOn("sys.snr.result").size(), 1U);
}

} // namespace
