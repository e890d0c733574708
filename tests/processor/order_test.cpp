// Two nodes publish at once, and what the processor publishes comes back through the bus: which of
// two messages it gets first is the scheduler's choice. Here both orders are forced.
#include "tests/processor/dialog_texts.h"

#include <utility>

namespace
{

struct Sent {
    std::string topic;
    std::string data;
};

enum class Spacing { apart, together };

class Orders : public Dialog
{
protected:
    // Each is handled, with all that follows from it, before the next is sent.
    Lines apart(const std::vector<Sent> &messages)
    {
        forget();
        for (const Sent &message : messages) {
            send(message.topic, message.data);
            settle();
        }
        return trace();
    }
    // All are sent before the processor gets to the first one: what it publishes comes back behind
    // the last.
    Lines together(const std::vector<Sent> &messages)
    {
        const std::string held = "1008 {}";
        onEvent = [&](int32_t event, const std::string &) {
            if (event != 1008) return;
            for (const Sent &message : messages)
                send(message.topic, message.data);
        };
        Lines entries = publish("sys.doa.result", "{}");
        onEvent = nullptr;
        EXPECT_EQ(entries.at(0), held);
        entries.erase(entries.begin());
        return entries;
    }
    Lines sendAll(Spacing spacing, const std::vector<Sent> &messages)
    {
        return spacing == Spacing::apart ? apart(messages) : together(messages);
    }
    static Lines events(const Lines &entries)
    {
        Lines told;
        for (const std::string &entry : entries) {
            if (entry.starts_with("10") && !entry.starts_with("1011")) told.push_back(entry);
        }
        return told;
    }
};

const Sent kRecognition = {"sys.localAsr.result", R"({"text":"打开空调","eof":1})"};
const Sent kDecision = {"sys.localDm.result",
                        R"({"dm":{"shouldEndSession":false,"input":"打开空调"}})"};
const Sent kOtherDecision = {"sys.localDm.result",
                             R"({"dm":{"shouldEndSession":true,"input":"关闭"}})"};
const Sent kSpeechBegins = {"sys.localVad.begin", R"({"status":1})"};
const Sent kSpeechEnds = {"sys.localVad.end", R"({"status":2})"};
const Sent kReply = {"sys.dms.output", kContinuing};
const Sent kNoise = {"sys.vantel.error", R"({"errId":-7398})"};
const Sent kStopListening = {"api.localAgent.asrCtrl", kStop};
const Sent kStartDialog = {"api.localAgent.dialogCtrl", kStart};

TEST_F(Orders, ADecisionOfAListeningOnlyTurnIsIgnoredWheneverItComes)
{
    const Lines turnEnds = {R"(1012 {"status":"silence"})", "1004 " + kRecognition.data};
    begin(kHalfDuplex);
    for (Spacing spacing : {Spacing::apart, Spacing::together}) {
        startListening();
        EXPECT_EQ(events(sendAll(spacing, {kRecognition, kDecision})), turnEnds);
        // In a dialog the same words are a command again.
        startDialog();
        EXPECT_EQ(events(sendAll(spacing, {kSpeechEnds, kRecognition, kDecision})).back(),
                  R"(1012 {"status":"listening"})");
        EXPECT_EQ(traceOf("1005"), Lines{"1005 " + kDecision.data});
        stopDialog();
    }
    // The detector's end comes between the two.
    startListening();
    EXPECT_EQ(events(together({kRecognition, kSpeechEnds, kDecision})).back(), turnEnds.back());
    // So late that another dialog has begun; nothing but the decision itself is ignored.
    startListening();
    apart({kRecognition, kStartDialog, kDecision});
    EXPECT_EQ(lastStatus(), "listening");
    EXPECT_EQ(traceOf("1005"), Lines{});
    apart({kOtherDecision});
    EXPECT_EQ(traceOf("1005"), Lines{"1005 " + kOtherDecision.data});
    // One that never comes takes none of the next turn along.
    startListening();
    apart({kRecognition, kStartDialog, kSpeechEnds, kDecision});
    EXPECT_EQ(traceOf("1005"), Lines{"1005 " + kDecision.data});
}

TEST_F(Orders, ACommandReachesTheHostAlikeWhicheverComesBackFirst)
{
    const Sent decision = {"sys.localDm.result", R"({"dm":{"command":{"api":"x"},)"
                                                 R"("shouldEndSession":true,"input":"打开空调"}})"};
    const Lines told = {"1004 " + kRecognition.data, R"(1013 {"api":"x"})", "1005 " + decision.data,
                        R"(1012 {"status":"silence"})"};
    begin(kHalfDuplex);
    for (Spacing spacing : {Spacing::apart, Spacing::together}) {
        startDialog();
        speechEnds();
        EXPECT_EQ(events(sendAll(spacing, {kRecognition, decision})), told);
        startListening();
        sendAll(spacing, {kRecognition, kStopListening});
        EXPECT_EQ(lastStatus(), "silence");
    }
}

// Where the order is seen, each order has one outcome.
TEST_F(Orders, WhatComesLastDecidesWhereTwoMeetInATurn)
{
    struct Case {
        const char *name;
        Sent first;
        Sent second;
        const char *status;         // at the end
        const char *statusReversed; // when the second came first
    };
    const Case cases[] = {
        {"a reply and a measurement that failed", kReply, kNoise, "silence", "listening"},
        {"a reply and the end of speech", kReply, kSpeechEnds, "understanding", "listening"},
        {"end and begin of speech", kSpeechEnds, kSpeechBegins, "understanding", "understanding"},
        {"a recognition and the end of speech", kRecognition, kSpeechEnds, "understanding",
         "understanding"},
        {"a failed measurement and the end of speech", kNoise, kSpeechEnds, "silence", "silence"},
        {"a reply and the host's stop",
         kReply,
         {"api.localAgent.dialogCtrl", kStop},
         "silence",
         "listening"},
    };
    for (const Case &one : cases) {
        SCOPED_TRACE(one.name);
        const auto statusAfter = [&](Spacing spacing, const Sent &first, const Sent &second) {
            begin(kHalfDuplex);
            startDialog();
            sendAll(spacing, {first, second});
            return lastStatus();
        };
        for (Spacing spacing : {Spacing::apart, Spacing::together}) {
            EXPECT_EQ(statusAfter(spacing, one.first, one.second), one.status);
            EXPECT_EQ(statusAfter(spacing, one.second, one.first), one.statusReversed);
        }
    }
}

TEST_F(Orders, OnlyABeginBehindTheEndTakesTheWaitForTheReplyAway)
{
    for (Spacing spacing : {Spacing::apart, Spacing::together}) {
        begin(kHalfDuplex);
        startDialog();
        sendAll(spacing, {kSpeechBegins, kSpeechEnds});
        EXPECT_EQ(logged("kill timerId"), 0U);
        stopDialog();
        startDialog();
        sendAll(spacing, {kSpeechEnds, kSpeechBegins});
        EXPECT_EQ(logged("kill timerId"), 1U);
    }
}

} // namespace
