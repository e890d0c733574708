// What the node does with calls, topics and the detector's word.
#include "tests/vad/pcm.h"
#include "tests/vad/vad_node.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace scripted;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using Names = std::vector<std::string>;

namespace
{

constexpr char kWithOneshot[] =
    R"({"homePath":"HOME","oneshot":{"enable":"true"},"wakeup":{"word":"小驰"},)"
    R"("vad":{"cachePcm":"true","pauseTime":50}})";
constexpr int32_t kPreRollBytes = 19200; // of a word of two characters

class Vad : public testing::Test
{
protected:
    void SetUp() override { reset(); }
    void TearDown() override { EXPECT_EQ(liveHandles(), 0); }

    static void detect(int32_t kind, const std::string &data, int64_t afterBytes = 0)
    {
        emit(Part::vad, Moment::feed, kind, data, afterBytes);
    }

    // What the engine was asked once the node has handled everything.
    static Names asked(VadNode &node, const std::string &prefix = "")
    {
        node.settle();
        return callNames(prefix);
    }
};

struct Outcome {
    VadNode::Heard heard;
    std::map<std::string, std::vector<std::string>> captures;
    std::vector<std::string> events;
};

// A one-shot turn over `recording`, whose first `before` bytes come before the detector runs.
Outcome turn(const std::string &recording, size_t before, size_t chunk)
{
    reset();
    VadNode node{kWithOneshot};
    node.feed(recording.substr(0, before), chunk);
    node.wakeUp();
    node.beginMeasurement();
    node.start();
    emit(Part::vad, Moment::feed, 0, began(6400), 8000);
    emit(Part::vad, Moment::feed, 1, recording.substr(before + 6400, 1600), 8000);
    emit(Part::vad, Moment::feed, 0, ended(17600), 19200);
    node.feed(recording.substr(before), chunk);
    node.stop();
    node.endMeasurement();
    Outcome outcome{node.heard(), node.captures(), {}};
    for (const support::Event &event : node.events())
        outcome.events.push_back(std::to_string(event.type) + "/" + std::to_string(event.event) +
                                 "/" + event.data);
    return outcome;
}

TEST_F(Vad, ATurnIsTheSameWhateverTheChunksOfTheRecording)
{
    const std::string quiet = noise(15000, 30);
    const std::string recording = quiet + noise(4800, 8000) + noise(3200, 30, 2);
    const size_t before = 30000 - 6400; // the speech begins at 6400 and ends at 16000
    const std::string preRoll = recording.substr(before - kPreRollBytes, kPreRollBytes);
    const std::string passedOn = recording.substr(30000, 1600);
    const Outcome whole = turn(recording, before, 1600);
    ASSERT_EQ(whole.heard.size(), 5U);
    EXPECT_THAT(whole.heard,
                ElementsAre(Pair("sys.localVad.begin", began(6400)),
                            Pair("sys.localVad.pcm", preRoll), Pair("sys.localVad.pcm", passedOn),
                            Pair("sys.localVad.end", ended(17600)),
                            Pair("sys.snr.result",
                                 HasSubstr(R"({"silenceLen":8000,"voiceLen":9600,"snr":48.)"))));
    const std::string silence = recording.substr(before, 6400) + recording.substr(39600, 1600);
    EXPECT_THAT(whole.captures,
                ElementsAre(Pair("feedVad", ElementsAre(recording.substr(before))),
                            Pair("onshot", ElementsAre(preRoll)),
                            Pair("snrSilence", ElementsAre(silence)),
                            Pair("snrVoice", ElementsAre(recording.substr(30000, 9600))),
                            Pair("vad", ElementsAre(preRoll + passedOn))));
    EXPECT_THAT(whole.events, ElementsAre("101/1003/" + began(6400), "102/1003/" + passedOn,
                                          "101/1003/" + ended(17600), "102/1042/" + silence,
                                          "102/1043/" + recording.substr(30000, 9600)));
    for (size_t chunk : {1U, 7U, 64U, 999U}) {
        const Outcome other = turn(recording, before, chunk);
        EXPECT_TRUE(other.heard == whole.heard) << chunk;
        EXPECT_TRUE(other.captures == whole.captures) << chunk;
        EXPECT_TRUE(other.events == whole.events) << chunk;
    }
}

TEST_F(Vad, ADroppedPreRollIsOnlyCaptured)
{
    VadNode node{kWithOneshot};
    node.feed("0123456789");
    node.wakeUp();
    node.cancelPreRoll(); // before the first start it has no file
    EXPECT_THAT(node.captures(), IsEmpty());
    node.wakeUp();
    node.start();
    node.cancelPreRoll();
    node.cancelPreRoll(); // is not pending any more
    EXPECT_THAT(node.captures(), ElementsAre(Pair("onshot", ElementsAre("0123456789"))));
    detect(0, began(0));
    node.feed("abcdef");
    EXPECT_EQ(node.topics(), Names{"localVad.begin"});
    EXPECT_THAT(node.captures(), ElementsAre(Pair("feedVad", ElementsAre("abcdef")),
                                             Pair("onshot", ElementsAre("0123456789"))));
}

TEST_F(Vad, WithoutOneshotAWakeupHoldsNothingBackAndNamesNoPreRoll)
{
    VadNode node{R"({"homePath":"HOME","vad":{"cachePcm":"true"},"oneshot":{"enable":true}})"};
    node.feed("0123456789");
    node.wakeUp();
    node.start();
    detect(0, began(0));
    node.feed("abcdef");
    EXPECT_EQ(node.topics(), Names{"localVad.begin"});
    EXPECT_EQ(node.logged("onshot pcm path"), 0U);
}

TEST_F(Vad, CallsAndCtrlStartAndStopOnlyWhatIsNotSoYet)
{
    VadNode node{kWithOneshot};
    node.stop();
    EXPECT_EQ(node.call("/localVad/start"), "(null)");
    node.start();
    node.publish("sys.localVad.ctrl", R"({"operation":"start"})");
    EXPECT_EQ(asked(node), (Names{"ostrel_vad_new", "ostrel_vad_start"}));
    EXPECT_EQ(calls("ostrel_vad_start")[0].text, R"({"pauseTime":50})");
    EXPECT_EQ(node.logged("vad pcm path"), 1U);
    node.publish("sys.localVad.ctrl", R"({"operation":"stop"})");
    EXPECT_EQ(node.call("/localVad/stop"), "(null)");
    node.publish("sys.localVad.ctrl", R"({"operation":"start"})");
    EXPECT_EQ(asked(node, "ostrel_vad_st"),
              (Names{"ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_start"}));
    EXPECT_EQ(node.call("/localVad/reset"), R"({"data":"localVad url not implement"})");
}

TEST_F(Vad, AnEngineThatFailsLeavesTheState)
{
    VadNode node{kWithOneshot};
    setResult("ostrel_vad_start", -5);
    node.start();
    node.feed("abc");
    EXPECT_EQ(node.logged("ZQ-localVad onStart, ret: -5"), 1U);
    EXPECT_EQ(node.logged("vad pcm path"), 1U) << "names are renewed all the same";
    node.advance(10000);
    EXPECT_EQ(node.logged("vad timeout reset snr buffer"), 0U);
    setResult("ostrel_vad_start", 0);
    setResult("ostrel_vad_feed", 3);
    setResult("ostrel_vad_stop", 7);
    node.start();
    node.feed("abc");
    EXPECT_EQ(node.logged("onFeed, ret: 3"), 1U);
    node.stop();
    node.start(); // is still started
    node.feed("def");
    EXPECT_EQ(asked(node, "ostrel_vad_"),
              (Names{"ostrel_vad_new", "ostrel_vad_start", "ostrel_vad_start", "ostrel_vad_feed",
                     "ostrel_vad_stop", "ostrel_vad_feed"}));
    node.advance(10000);
    EXPECT_EQ(node.logged("vad timeout reset snr buffer"), 0U) << "the timer was killed";
}

TEST_F(Vad, WithoutADetectorTheNodeStillAnswers)
{
    for (const char *configuration : {static_cast<const char *>(nullptr), "{}", "no JSON", "[3]"}) {
        VadNode node{configuration};
        node.wakeUp();
        node.feed("abc");
        node.start();
        node.feed("def");
        node.beginMeasurement();
        node.endMeasurement();
        EXPECT_EQ(node.topics(), Names{"vantel.error"}) << "only that there is no voice";
        EXPECT_EQ(node.logged("coreVad not cfg"), configuration ? 1U : 0U);
        EXPECT_EQ(node.call("/localVad/x"), R"({"data":"localVad url not implement"})");
    }
    EXPECT_EQ(callNames(), Names{});
}

TEST_F(Vad, ADetectorThatCannotBeMadeIsReportedOnceTheNodeRuns)
{
    setResult("ostrel_vad_new", -1);
    VadNode node{R"({"vad":{"res":"x"}})"};
    node.start();
    EXPECT_EQ(node.heard(), (VadNode::Heard{{"sys.vantel.error",
                                             R"({"errId":-7399,"errMsg":"vad core error"})"}}));
    EXPECT_EQ(callNames(), Names{"ostrel_vad_new"});
    EXPECT_EQ(calls()[0].text, R"({"res":"x"})");
}

// The wall's clock runs on beside the advances, so the margins are minutes.
TEST_F(Vad, TheTimerClearsTheBuffersUntilSpeechBegins)
{
    VadNode node{R"({"vad":{"timeout":200000}})"};
    node.start();
    node.feed(noise(1600, 30));
    node.advance(100000);
    EXPECT_EQ(node.logged("reset speech"), 0U);
    node.advance(100000);
    node.advance(200000);
    EXPECT_EQ(node.logged("vad timeout reset snr buffer"), 2U);
    detect(0, began(3000));
    node.feed("ab");
    EXPECT_EQ(node.topics(), Names{"localVad.begin"}) << "published, inaccurate or not";
    EXPECT_EQ(node.logged("offset inaccuracy, speechLen: 0, offset:3000"), 1U);
    node.advance(1000000);
    EXPECT_EQ(node.logged("vad timeout reset snr buffer"), 2U);
}

TEST_F(Vad, TimerCtrlArmsOnlyWhileStartedAndItsTimeoutHoldsOnce)
{
    VadNode node{R"({"vad":{"timeout":200000}})"};
    const std::string topic = "sys.localProcessor.TimerCtrl";
    node.publish(topic, R"({"operation":"start"})");
    node.advance(200000);
    EXPECT_EQ(node.logged("setTimer"), 0U);
    node.start();
    node.publish(topic, R"({"operation":"stop"})");
    node.advance(200000);
    EXPECT_EQ(node.logged("vad timeout"), 0U);
    node.publish(topic, R"({"operation":"start","timeout":50000})");
    node.advance(50000);
    EXPECT_EQ(node.logged("vad timeout"), 1U);
    node.advance(100000);
    EXPECT_EQ(node.logged("vad timeout"), 1U);
    node.advance(100000);
    EXPECT_EQ(node.logged("vad timeout"), 2U);
    node.publish(topic, R"({"operation":"start","timeout":100000})"); // in place of the running one
    node.advance(250000);
    EXPECT_EQ(node.logged("vad timeout"), 3U);
}

TEST_F(Vad, StrangeMessagesAndStatusesChangeNothing)
{
    VadNode node{kWithOneshot};
    node.start();
    for (const char *topic :
         {"sys.localVad.ctrl", "sys.snr.calculation", "api.localAgent.setParams",
          "sys.localRecorder.pcm", "sys.localProcessor.TimerCtrl", "sys.localVad.vprRuntimeCtrl"}) {
        node.publishNull(topic);
        for (const char *payload : {"", "{", "[]", "7", R"({"operation":7,"status":7,"snr":7})"})
            node.publish(topic, payload);
    }
    for (const char *status : {"", "no JSON", "{}", "[1]", R"({"status":3})", R"({"status":"1"})"})
        detect(0, status);
    node.feed("abc");
    EXPECT_EQ(node.topics(), Names{"localVad.pcm"}) << "an empty status text is audio of no bytes";
    EXPECT_EQ(node.logged("coreVad abort"), 5U);
    EXPECT_EQ(node.logged("not snr calculation status, NULL"), 1U);
    EXPECT_EQ(callNames("ostrel_vad_st"), Names{"ostrel_vad_start"});
}

TEST_F(Vad, OffsetsOutsideTheAudioAreCutToIt)
{
    VadNode node{R"({"vad":{"pauseTime":100000000,"fullMode":1}})"};
    node.start();
    node.beginMeasurement();
    node.feed(noise(1600, 30));
    node.settle();
    for (const std::string &status : {began(-2000000000), ended(-2000000000), ended(3200),
                                      began(3200), ended(2000000000), began(INT32_MIN)})
        detect(0, status);
    node.feed(noise(1600, 30));
    node.endMeasurement();
    EXPECT_EQ(node.heardOn("sys.localVad.begin").size(), 3U);
    EXPECT_EQ(node.logged("offset inaccuracy"), 1U);
}

TEST_F(Vad, AChunkOfTenMegabytesGrowsTheBuffer)
{
    VadNode node{kWithOneshot};
    node.start();
    const std::string chunk(10'000'001, 'x');
    node.feed(chunk, chunk.size());
    EXPECT_EQ(node.logged("snr speech buffer size: 10234K"), 1U);
    EXPECT_TRUE(node.captures()["feedVad"] == Names{chunk});
}

TEST_F(Vad, TheDetectorIsStoppedAtExitAndOnceMoreBehindTheLoop)
{
    VadNode node{R"({"vad":{}})"};
    node.close();
    EXPECT_EQ(callNames("ostrel_vad_"),
              (Names{"ostrel_vad_new", "ostrel_vad_stop", "ostrel_vad_delete"}));
    reset();
    VadNode started{R"({"vad":{}})"};
    started.start();
    started.publish("sys.localAgent.exit", "");
    started.settle();
    started.close();
    EXPECT_EQ(callNames("ostrel_vad_"),
              (Names{"ostrel_vad_new", "ostrel_vad_start", "ostrel_vad_stop", "ostrel_vad_stop",
                     "ostrel_vad_delete"}));
}

TEST_F(Vad, AFolderThatCannotBeWrittenLosesOnlyTheCaptures)
{
    VadNode node{R"({"homePath":"HOME/log","vad":{"cachePcm":"true"}})"}; // a file
    node.start();
    detect(0, began(0));
    detect(1, "speech");
    node.feed("abc");
    EXPECT_EQ(node.topics(), (Names{"localVad.begin", "localVad.pcm"}));
    EXPECT_EQ(node.logged("create vad cache dir failed, path: " + node.home() + "/log/cache/vad"),
              1U);
    EXPECT_EQ(node.logged("open failed, vad path: "), 2U);
}

} // namespace
