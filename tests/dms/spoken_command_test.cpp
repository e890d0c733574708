// A spoken command on its whole way: from the audio that the host feeds to the events that it gets.
#include "include/vantel/vantel.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/system.h"
#include "tests/vad/pcm.h"

#include <gtest/gtest.h>

using scripted::Moment;
using scripted::Part;
using Texts = std::vector<std::string>;

namespace
{

// What the processor and the DMS node say on the way. The measurement runs beside it, in no fixed
// order, and is not looked at here.
const Texts kTopics = {"sys.localAsr.result",     "sys.localDm.result",
                       "sys.asr.result",          "sys.dms.output",
                       "sys.localDms.reset",      "sys.localDms.cancel",
                       "sys.localDms.commandApi", "sys.vantel.status",
                       "sys.localRecorder.ctrl",  "sys.localProcessor.TimerCtrl",
                       "sys.vantel.error"};

constexpr int32_t kQuietSamples = 8000; // half a second
constexpr int32_t kLoudSamples = 16000;

class SpokenCommand : public testing::Test
{
protected:
    SpokenCommand() { scripted::reset(); }

    void begin(const std::string &options)
    {
        std::string params =
            R"({"recorder":{"mode":"external"},"vad":{},"asr":{},"gram":{})" + options + "}";
        system_.emplace(support::SystemOptions{.params = params, .topics = kTopics});
    }

    // Quiet, speech that the detector passes on and the recogniser takes for `result`, quiet.
    void say(const std::string &result)
    {
        system_->settle();
        const int64_t loudEnd = 2 * (kQuietSamples + kLoudSamples);
        scripted::emit(Part::vad, Moment::feed, 0, R"({"status":1,"offset":16000})", loudEnd);
        scripted::emit(Part::vad, Moment::feed, 1, speech_, loudEnd);
        scripted::emit(Part::vad, Moment::feed, 0, R"({"status":2,"offset":64000})", loudEnd + 1);
        scripted::emit(Part::asr, Moment::stop, 0, result);
        const std::string quiet = noise(kQuietSamples, 20);
        for (const std::string &chunk : {quiet, speech_, quiet})
            feed(chunk);
    }

    void feed(const std::string &chunk)
    {
        vantelFeedData(system_->handle(), chunk.data(), static_cast<int32_t>(chunk.size()));
        system_->settle();
    }

    // The chunks that the recogniser was fed.
    Texts recognised()
    {
        Texts chunks;
        for (const scripted::Call &one : scripted::calls("ostrel_asr_feed"))
            chunks.push_back(one.pcm);
        return chunks;
    }

    // "event payload", those of the VAD node left out.
    Texts events()
    {
        Texts texts;
        for (const support::Event &one : system_->events()) {
            if (one.event != 1003 && one.event != 1007 && one.event < 1042)
                texts.push_back(std::to_string(one.event) + " " + one.data);
        }
        return texts;
    }

    Texts published()
    {
        Texts texts;
        for (const support::Message &message : system_->heard())
            texts.push_back(message.topic.substr(4) + " " + message.data);
        return texts;
    }

    const std::string speech_ = noise(kLoudSamples, 4000);
    std::optional<support::System> system_;
};

const std::string kStart = R"({"operation":"start", "module":"dm"})";
const std::string kStop = R"({"operation":"stop", "module":"dm"})";
const std::string kListening = R"({"status":"listening"})";
const std::string kUnderstanding = R"({"status":"understanding"})";
const std::string kSilence = R"({"status":"silence"})";

TEST_F(SpokenCommand, InHalfDuplexReachesTheHostAndEndsTheDialog)
{
    begin("");
    vantelStartDialog(system_->handle());
    say(R"({"grammar":{"rec":"打 开 空 调","eof":1,"conf":0.8,)"
        R"("post":{"sem":{"dm":{"command":{"api":"ac.on"}}}}}})");
    const std::string asr = R"({"text":"打开空调","eof":1,"conf":0.8,)"
                            R"("post":{"sem":{"dm":{"command":{"api":"ac.on"}}}}})";
    const std::string dm =
        R"({"dm":{"command":{"api":"ac.on"},"shouldEndSession":true,"input":"打开空调"}})";
    const std::string command = R"({"api":"ac.on"})";
    EXPECT_EQ(events(), (Texts{"1012 " + kListening, "1011 " + kStart, "1012 " + kUnderstanding,
                               "1011 " + kStop, "1004 " + asr, "1013 " + command, "1005 " + dm,
                               "1012 " + kSilence, "1011 " + kStop}));
    EXPECT_EQ(published(), (Texts{"localRecorder.ctrl " + kStart, "vantel.status " + kListening,
                                  "localAsr.result " + asr, "localDm.result " + dm,
                                  "localRecorder.ctrl " + kStop, "vantel.status " + kUnderstanding,
                                  "localDms.reset ", "asr.result " + asr, "localDms.reset ",
                                  "localDms.commandApi " + command, "dms.output " + dm,
                                  "localRecorder.ctrl " + kStop, "vantel.status " + kSilence}));
    EXPECT_EQ(recognised(), Texts{speech_});
}

TEST_F(SpokenCommand, InFullDuplexAfterAOneshotWakeupGoesOnListening)
{
    begin(R"(,"fullDuplex":"true","oneshot":{"enable":"true","timeout":600000})");
    const std::string wakeupWord = noise(1000, 4000, 2);
    feed(wakeupWord);
    system_->observer().publish("sys.localWakeup.result",
                                R"({"type":"major","wakeupWord":"你好小驰"})");
    say(R"({"ngram":{"rec":"小 驰 打 开","eof":1,)"
        R"("post":{"sem":{"dm":{"shouldEndSession":"false"}}}}})");
    const std::string asr =
        R"({"text":"打开","eof":1,"post":{"sem":{"dm":{"shouldEndSession":"false"}}}})";
    const std::string dm = R"({"dm":{"shouldEndSession":false,"input":"打开"}})";
    EXPECT_EQ(events(),
              (Texts{R"(1002 {"type":"major","wakeupWord":"你好小驰"})", "1012 " + kListening,
                     "1011 " + kStart, "1012 " + kUnderstanding, "1011 " + kStop, "1004 " + asr,
                     "1005 " + dm, "1012 " + kListening, "1011 " + kStart}));
    EXPECT_EQ(published(), (Texts{"localDms.reset ", "localRecorder.ctrl " + kStart,
                                  "vantel.status " + kListening, "localAsr.result " + asr,
                                  "localDm.result " + dm, "localRecorder.ctrl " + kStop,
                                  "vantel.status " + kUnderstanding, "localDms.reset ",
                                  "asr.result " + asr, "localDms.reset ", "dms.output " + dm,
                                  "localRecorder.ctrl " + kStart, "vantel.status " + kListening,
                                  R"(localProcessor.TimerCtrl {"operation":"start"})"}));
    EXPECT_EQ(recognised(), (Texts{wakeupWord, speech_}));
    EXPECT_EQ(scripted::callNames("ostrel_asr_s"),
              (Texts{"ostrel_asr_start", "ostrel_asr_stop", "ostrel_asr_start"}));
    EXPECT_EQ(scripted::callNames("ostrel_vad_st"), Texts{"ostrel_vad_start"}) << "it runs on";
}

} // namespace
