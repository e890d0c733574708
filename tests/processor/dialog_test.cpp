// A whole dialog of the whole system, from the host's first request to silence: every publication,
// event and log line of the processor, in order.
#include "include/vantel/vantel.h"
#include "tests/support/scripted_engine.h"
#include "tests/support/system.h"
#include "tests/vad/pcm.h"

#include <gtest/gtest.h>
#include <optional>

using Lines = std::vector<std::string>;
using scripted::Moment;
using scripted::Part;

namespace
{

constexpr char kParams[] =
    R"({"recorder":{"mode":"external"},"vad":{"pauseTime":50},"asr":{},"dmTimeOut":600000})";
constexpr char kBegan[] = R"({"status":1,"offset":6400})";
constexpr char kEnded[] = R"({"status":2,"offset":17600})";
constexpr char kRecogniser[] = R"({"rec":"打 开 空 调","eof":1,"conf":0.8})";
constexpr char kRecognised[] = R"({"text":"打开空调","eof":1,"conf":0.8})";
constexpr char kDecision[] = R"({"dm":{"shouldEndSession":true,"input":"打开空调"}})";
constexpr char kRecorderStart[] = R"({"operation":"start", "module":"dm"})";
constexpr char kRecorderStop[] = R"({"operation":"stop", "module":"dm"})";

class WholeDialog : public testing::Test
{
protected:
    WholeDialog()
    {
        scripted::reset();
        scripted::emit(Part::vad, Moment::feed, 0, kBegan, 8000);
        scripted::emit(Part::vad, Moment::feed, 1, "speech", 8000);
        scripted::emit(Part::vad, Moment::feed, 0, kEnded, 19200);
        scripted::emit(Part::asr, Moment::stop, 0, kRecogniser);
        system.emplace(kParams);
        system->forget();
    }

    void feed(const std::string &pcm)
    {
        vantelFeedData(system->handle(), pcm.data(), static_cast<int32_t>(pcm.size()));
        system->settle();
    }

    // Publications of one member come in its order; those of two may overtake each other. The
    // signal-to-noise ratio is measured beside the dialog.
    Lines heard(bool isVads)
    {
        Lines lines;
        for (const support::Message &message : system->heard()) {
            if (message.topic.starts_with("api.") || message.topic == "sys.localRecorder.pcm" ||
                message.topic == "sys.snr.result" ||
                message.topic.starts_with("sys.localVad.") != isVads)
                continue;
            lines.push_back(message.topic + " " + (message.isNull ? "(null)" : message.data));
        }
        return lines;
    }
    Lines heard() { return heard(false); }
    Lines fromVad() { return heard(true); }
    Lines events()
    {
        Lines lines;
        for (const support::Event &event : system->events()) {
            if (event.event != 1007 && event.event != 1042 && event.event != 1043)
                lines.push_back(std::to_string(event.event) + " " + event.data);
        }
        return lines;
    }
    Lines log()
    {
        const std::string tag = "  ZQ-localProcessor ";
        Lines lines;
        for (std::string &line : system->log(tag)) {
            if (line.find(" snr ") == line.npos) lines.push_back(line.erase(3, tag.size()));
        }
        return lines;
    }

    std::optional<support::System> system;
};

std::string status(const std::string &name)
{
    return R"({"status":")" + name + R"("})";
}

// The two lines of an event that the host does not answer.
Lines told(const std::string &label, const std::string &data)
{
    const bool showsAnswer = label != "recorder ctrl";
    return {"[I]" + label + " vantelHandle stamp, data: " + data,
            "[V]" + label +
                (showsAnswer ? " vantelHandle, customdata: NULL" : " vantelHandle end")};
}

Lines operator+(Lines first, const Lines &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

TEST_F(WholeDialog, RunsFromTheHostsStartToSilenceInItsOrder)
{
    const std::string recording = noise(3200, 30) + noise(4800, 8000) + noise(3200, 30, 2);
    const std::string start = kRecorderStart;
    const std::string stop = kRecorderStop;

    vantelStartDialog(system->handle());
    EXPECT_EQ(heard(),
              (Lines{R"(sys.snr.calculation {"status":"begin"})", "sys.localRecorder.ctrl " + start,
                     "sys.vantel.status " + status("listening")}));
    EXPECT_EQ(events(), (Lines{"1012 " + status("listening"), "1011 " + start}));
    EXPECT_EQ(log(), (Lines{"[I]onStart listening", "[I]onStart vad", "[I]onStart dms",
                            "[I]not use fullDulpx, not support syncDmTimeoutAsrMaxText"}) +
                         told("processor dm status", status("listening")) +
                         told("recorder ctrl", start));
    system->forget();

    feed(recording.substr(0, 19000)); // speech begins
    EXPECT_EQ(heard(), Lines{});
    EXPECT_EQ(fromVad(),
              (Lines{std::string("sys.localVad.begin ") + kBegan, "sys.localVad.pcm speech"}));
    EXPECT_EQ(events(), (Lines{std::string("1003 ") + kBegan, "1003 speech"}));
    EXPECT_EQ(log(), Lines{});
    system->forget();

    feed(recording.substr(19000)); // speech ends
    EXPECT_EQ(fromVad(), Lines{std::string("sys.localVad.end ") + kEnded});
    EXPECT_EQ(heard(),
              (Lines{std::string("sys.localAsr.result ") + kRecognised,
                     std::string("sys.localDm.result ") + kDecision,
                     "sys.localRecorder.ctrl " + stop, R"(sys.snr.calculation {"status":"end"})",
                     "sys.vantel.status " + status("understanding"), "sys.localDms.reset (null)",
                     std::string("sys.asr.result ") + kRecognised, "sys.localDms.reset (null)",
                     std::string("sys.dms.output ") + kDecision, "sys.localRecorder.ctrl " + stop,
                     R"(sys.snr.calculation {"status":"end"})",
                     "sys.vantel.status " + status("silence")}));
    EXPECT_EQ(events(), (Lines{std::string("1003 ") + kEnded, "1012 " + status("understanding"),
                               "1011 " + stop, std::string("1004 ") + kRecognised,
                               std::string("1005 ") + kDecision, "1012 " + status("silence"),
                               "1011 " + stop}));
    EXPECT_EQ(log(),
              (Lines{"[I]onStop listening", "[I]onStop vad", "[I]onStop dms", "[D]set timerId 1"}) +
                  told("processor dm status", status("understanding")) +
                  (Lines{std::string("[I]local asr result: ") + kRecognised, "[I]onReset dms",
                         std::string("[I]local dm result: ") + kDecision, "[I]onReset dms"}) +
                  told("recorder ctrl", stop) + Lines{"[D]kill timerId 1"} +
                  told("asr", kRecognised) + told("dmOutput", kDecision) +
                  (Lines{"[I]onStop speaking", "[I]onStop listening", "[I]onStop vad",
                         "[I]onStop dms", "[D]set cancel dilaog timerId 2"}) +
                  told("processor dm status", status("silence")) + Lines{"[I]disable wakeup"} +
                  told("recorder ctrl", stop));
    EXPECT_EQ(system->eventData(1007).size(), 1U);
    system->forget();

    system->advance(40000); // the session is given up
    EXPECT_EQ(heard(), Lines{"sys.localDms.reset (null)"});
    EXPECT_EQ(log(),
              (Lines{"[V]finish cancel dilaog timerId 2", "[I]onReset dms", "[I]onStop vad"}));
}

TEST_F(WholeDialog, RequestsFromInsideTheCallbackAreServed)
{
    system->onEvent([&](const support::Event &event) {
        if (event.data == status("listening"))
            vantelInputText(system->handle(), R"({"text":"hi"})");
        if (event.data == status("understanding")) vantelStopDialog(system->handle());
    });
    vantelStartDialog(system->handle());
    system->settle();
    EXPECT_EQ(system->statuses(), (Lines{"listening", "understanding", "silence"}));
}

} // namespace
