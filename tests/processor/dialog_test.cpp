// Whole dialogs of the whole system, from the host's first request and the audio that it feeds:
// every publication, call, event and log line of the processor, in order.
#include "include/vantel/vantel.h"
#include "tests/processor/dialog_texts.h"
#include "tests/support/pcm.h"

#include <atomic>
#include <future>

namespace
{

const std::string kBegan = R"({"status":1,"offset":6400})";
const std::string kEnded = R"({"status":2,"offset":17600})";
// Quiet, speech and quiet, and where the detector finds the speech.
const std::string kRecording = noise(3200, 30) + noise(4800, 8000) + noise(3200, 30, 2);
constexpr size_t kInSpeech = 19000;

class WholeDialog : public Dialog
{
protected:
    void begin(const std::string &options)
    {
        const std::string params = R"({"recorder":{"mode":"external"},"vad":{"pauseTime":50},)"
                                   R"("asr":{},"gram":{},"dmTimeOut":600000)" +
                                   options + "}";
        beginSystem(params.c_str());
        forget();
    }
    // What the engine makes of the next recording.
    void expectSpeech(const std::string &result)
    {
        settle();
        scripted::emit("ostrel_vad_feed", 0, kBegan, 8000);
        scripted::emit("ostrel_vad_feed", 1, "speech", 8000);
        scripted::emit("ostrel_vad_feed", 0, kEnded, 19200);
        scripted::emit("ostrel_asr_stop", 0, result);
    }
    void feed(const std::string &pcm)
    {
        vantelFeedData(handle, pcm.data(), static_cast<int32_t>(pcm.size()));
        settle();
    }

    // What the detector said becomes; it happens on the VAD node's thread, beside the dialog.
    Lines fromVad() { return traceOf("localVad.") + traceOf("1003 ") + traceOf("102/1003 "); }
    Lines dialog()
    {
        Lines entries = trace();
        std::erase_if(entries, [](const std::string &entry) {
            for (const char *prefix : {"localVad.", "localRecorder.pcm", "snr.result", "api.",
                                       "1003 ", "1007 ", "102/"}) {
                if (entry.starts_with(prefix)) return true;
            }
            return false;
        });
        return entries;
    }
    Lines said()
    {
        Lines lines = log();
        std::erase_if(lines, [](const std::string &line) { return line.substr(3, 4) == "snr "; });
        return lines;
    }
};

// The two lines of an event that the host does not answer.
Lines told(const std::string &label, const std::string &data)
{
    const bool showsAnswer = label != "recorder ctrl";
    return {"[I]" + label + " vantelHandle stamp, data: " + data,
            "[V]" + label +
                (showsAnswer ? " vantelHandle, customdata: NULL" : " vantelHandle end")};
}

const std::string kListening = R"({"status":"listening"})";
const std::string kUnderstanding = R"({"status":"understanding"})";

// The end of a listening turn, in which the recogniser gives its result.
Lines turnEnds(const std::string &asr, const std::string &dm)
{
    return {"/localDms/stop (null)", "localAsr.result " + asr, "localDm.result " + dm,
            "localRecorder.ctrl " + kRecorderStop, R"(snr.calculation {"status":"end"})"};
}

TEST_F(WholeDialog, InHalfDuplexRunsFromTheHostsStartToSilenceInItsOrder)
{
    begin("");
    vantelStartDialog(handle);
    EXPECT_EQ(dialog(), listeningBegins() + status("listening") + kRecorderStarts);
    EXPECT_EQ(said(), (Lines{"[I]onStart listening", "[I]onStart vad", "[I]onStart dms",
                             "[I]not use fullDulpx, not support syncDmTimeoutAsrMaxText"}) +
                          told("processor dm status", kListening) +
                          told("recorder ctrl", kRecorderStart));
    forget();

    expectSpeech(R"({"grammar":{"rec":"打 开 空 调","eof":1,"conf":0.8,)"
                 R"("post":{"sem":{"dm":{"command":{"api":"ac.on"}}}}}})");
    feed(kRecording.substr(0, kInSpeech));
    EXPECT_EQ(fromVad(), (Lines{"localVad.begin " + kBegan, "localVad.pcm speech", "1003 " + kBegan,
                                "102/1003 speech"}));
    EXPECT_EQ(dialog(), Lines{});
    EXPECT_EQ(said(), Lines{});
    forget();

    const std::string command = R"({"api":"ac.on"})";
    const std::string asr = R"({"text":"打开空调","eof":1,"conf":0.8,)"
                            R"("post":{"sem":{"dm":{"command":{"api":"ac.on"}}}}})";
    const std::string dm =
        R"({"dm":{"command":{"api":"ac.on"},"shouldEndSession":true,"input":"打开空调"}})";
    feed(kRecording.substr(kInSpeech));
    EXPECT_EQ(fromVad(), (Lines{"localVad.end " + kEnded, "1003 " + kEnded}));
    EXPECT_EQ(dialog(), kVadStop + turnEnds(asr, dm) + status("understanding") + kDmsReset +
                            Lines{"asr.result " + asr} + kDmsReset +
                            (Lines{"localDms.commandApi " + command, "dms.output " + dm}) +
                            kRecorderStops +
                            (Lines{"1004 " + asr, "1013 " + command, "1005 " + dm}) +
                            listeningEnds() + status("silence") + kRecorderStops);
    EXPECT_EQ(said(),
              (Lines{"[I]onStop listening", "[I]onStop vad", "[I]onStop dms", "[D]set timerId 1"}) +
                  told("processor dm status", kUnderstanding) +
                  (Lines{"[I]local asr result: " + asr, "[I]onReset dms",
                         "[I]local dm result: " + dm, "[I]onReset dms"}) +
                  told("recorder ctrl", kRecorderStop) + Lines{"[D]kill timerId 1"} +
                  told("asr", asr) + told("dmCommandApi", command) + told("dmOutput", dm) +
                  (Lines{"[I]onStop speaking", "[I]onStop listening", "[I]onStop vad",
                         "[I]onStop dms", "[D]set cancel dilaog timerId 2"}) +
                  told("processor dm status", R"({"status":"silence"})") +
                  Lines{"[I]disable wakeup"} + told("recorder ctrl", kRecorderStop));
    EXPECT_EQ(traceOf("1007").size(), 1U);
}

TEST_F(WholeDialog, InFullDuplexAfterAOneshotWakeupGoesOnListening)
{
    begin(R"(,"fullDuplex":"true","oneshot":{"enable":"true","timeout":600000})");
    const std::string wakeupWord = "wake word";
    feed(wakeupWord);
    const std::string wakeup = R"({"type":"major","wakeupWord":"你好小驰"})";
    send("sys.localWakeup.result", wakeup);
    expectSpeech(R"({"ngram":{"rec":"小 驰 打 开","eof":1,)"
                 R"("post":{"sem":{"dm":{"shouldEndSession":"false"}}}}})");
    feed(kRecording.substr(0, kInSpeech));
    feed(kRecording.substr(kInSpeech));
    const std::string asr =
        R"({"text":"打开","eof":1,"post":{"sem":{"dm":{"shouldEndSession":"false"}}}})";
    const std::string dm = R"({"dm":{"shouldEndSession":false,"input":"打开"}})";
    EXPECT_EQ(dialog(), Lines{"1002 " + wakeup} + kVadStop + kDmsReset + listeningBegins(wakeup) +
                            status("listening") + kRecorderStarts + turnEnds(asr, dm) +
                            status("understanding") + kDmsReset + Lines{"asr.result " + asr} +
                            kDmsReset + Lines{"dms.output " + dm} + kRecorderStops +
                            (Lines{"1004 " + asr, "1005 " + dm}) + listeningBegins() +
                            status("listening") + Lines{"localProcessor.TimerCtrl " + kStart} +
                            kRecorderStarts);
    Lines recognised; // chunks that the recogniser was fed
    for (const scripted::Call &one : scripted::calls("ostrel_asr_feed"))
        recognised.push_back(one.pcm);
    EXPECT_EQ(recognised, (Lines{wakeupWord, "speech"}));
    EXPECT_EQ(scripted::callNames("ostrel_asr_s"),
              (Lines{"ostrel_asr_start", "ostrel_asr_stop", "ostrel_asr_start"}));
    EXPECT_EQ(scripted::callNames("ostrel_vad_st"), Lines{"ostrel_vad_start"}) << "it runs on";
}

TEST_F(WholeDialog, RequestsFromInsideTheCallbackAreServed)
{
    begin("");
    onEvent = [&](int32_t, const std::string &data) {
        if (data == kListening) vantelInputText(handle, R"({"text":"hi"})");
        if (data == kUnderstanding) vantelStopDialog(handle);
    };
    vantelStartDialog(handle);
    EXPECT_EQ(statuses(), (Lines{"listening", "understanding", "silence"}));
}

// The host's callback holds up the detector's node while audio keeps coming.
TEST_F(WholeDialog, AudioBeyondTheLimitIsRefusedAndWhatWasAcceptedIsHeard)
{
    initialise();
    begin(R"(,"audioLimit":100)");
    vantelStartDialog(handle);
    settle();
    std::promise<void> entered, leave;
    std::atomic<bool> isFirst{true};
    onEvent = [&](int32_t event, const std::string &) {
        if (event != VANTEL_EVENT_VAD || !isFirst.exchange(false)) return;
        entered.set_value();
        leave.get_future().wait();
    };
    scripted::emit("ostrel_vad_feed", 0, kBegan, 320);
    const std::string chunk(320, 'x'); // 10 ms
    auto feedChunks = [&](int count) {
        int accepted = 0;
        for (int i = 0; i < count; ++i)
            accepted += vantelFeedData(handle, chunk.data(), 320) == 0;
        return accepted;
    };
    EXPECT_EQ(feedChunks(1), 1);
    entered.get_future().wait();
    // The chunk in the detector's node is one of those that wait.
    EXPECT_EQ(feedChunks(20), 10);
    EXPECT_EQ(feedChunks(20), 0);
    EXPECT_EQ(vantelStopDialog(handle), 0);
    leave.set_value();
    settle();
    EXPECT_EQ(scripted::callNames("ostrel_vad_feed").size(), 11U);
    EXPECT_EQ(feedChunks(1), 1);
    EXPECT_EQ(Bench::log("onFeed "),
              (Lines{"[W]  ZQ-localAgent onFeed refused, 110 ms of audio wait for the detector, "
                     "audioLimit: 100",
                     "[W]  ZQ-localAgent onFeed goes on, 300 ms of audio were refused"}));
    // The next turn works.
    expectSpeech(R"({"grammar":{"post":{"sem":{}},"conf":1,"rec":"on"},"eof":1})");
    vantelStartDialog(handle);
    settle();
    feed(kRecording);
    EXPECT_EQ(traceOf("1004 ").size(), 1U);
}

} // namespace
