// The node's making, states, calls, topics and log.
#include "tests/dms/dms_bench.h"

namespace
{

const std::string kGramReport = R"(vantel.error {"errId":-7199,"errMsg":"gram core error"})";
const std::string kAsrReport = R"(vantel.error {"errId":-7898,"errMsg":"asr core error"})";
const std::string kLimitReport = R"(vantel.error {"errId":-7897,"errMsg":"local asr exceedlimit"})";

constexpr char kAsrOnly[] = R"({"asr":{"res":"a"}})";
constexpr char kBoth[] = R"({"gram":{"res":"g"},"asr":{"res":"a"}})";

struct MakingCase {
    const char *configuration;
    Lines failing; // engine functions
    Lines calls;
    Lines reports;
};

const MakingCase kMakings[] = {
    {kBoth, {}, {"gram_new", "gram_start", "gram_delete", "asr_new"}, {}},
    {kBoth, {"gram_new"}, {"gram_new", "asr_new"}, {kGramReport}},
    {kBoth, {"gram_new", "asr_new"}, {"gram_new", "asr_new"}, {kGramReport, kAsrReport}},
    // A grammar that does not compile leaves the node without recogniser, and tells nobody.
    {kBoth, {"gram_start"}, {"gram_new", "gram_start", "gram_delete"}, {}},
    {kAsrOnly, {"asr_new"}, {"asr_new"}, {kAsrReport}},
    {R"({"gram":"g","asr":[]})", {}, {}, {}},
    {"no json", {}, {}, {}},
    {nullptr, {}, {}, {}},
};

class DmsCalls : public DmsBench
{
protected:
    // Since the last look, without "ostrel_".
    Lines engineCalls()
    {
        settle();
        Lines names;
        for (const std::string &name : scripted::callNames())
            names.push_back(name.substr(7));
        scripted::reset();
        return names;
    }
};

TEST_F(DmsCalls, MakeWhatConfigurationAndEngineAllowAndHoldReportsUntilTheNodeRuns)
{
    for (const MakingCase &one : kMakings) {
        SCOPED_TRACE(testing::PrintToString(one.configuration) +
                     testing::PrintToString(one.failing));
        scripted::reset();
        for (const std::string &function : one.failing)
            scripted::setResult("ostrel_" + function, -5);
        begin(one.configuration);
        EXPECT_EQ(published(), one.reports);
        EXPECT_EQ(engineCalls(), one.calls);
        const bool hasRecogniser = scripted::liveHandles() == 1;
        for (const char *verb : {"start", "stop", "reset"})
            ask(verb);
        EXPECT_EQ(engineCalls(),
                  hasRecogniser ? (Lines{"asr_start", "asr_stop", "asr_cancel"}) : Lines{});
        end();
    }
}

TEST_F(DmsCalls, StartStopResetAndCancelMindTheState)
{
    begin(kAsrOnly);
    for (const char *verb : {"stop", "cancel"})
        EXPECT_EQ(ask(verb), "(null)");
    EXPECT_EQ(engineCalls(), Lines{"asr_new"}) << "nothing was started";
    ask("reset");
    ask("stop");
    EXPECT_EQ(engineCalls(), Lines{"asr_cancel"}) << "reset acts in any state, and ends as stopped";
    for (const char *verb : {"start", "start", "stop", "stop", "start", "cancel", "cancel"})
        EXPECT_EQ(ask(verb), "(null)");
    EXPECT_EQ(engineCalls(), (Lines{"asr_start", "asr_stop", "asr_start", "asr_cancel"}));
    EXPECT_EQ(ask("pause"), R"({"data":"localDms url not implement"})");
}

TEST_F(DmsCalls, TopicsDoWhatTheCallsDo)
{
    begin(kAsrOnly);
    engineCalls();
    const std::pair<const char *, const char *> messages[] = {
        {"sys.localDms.cancel", ""},
        {"sys.localDms.ctrl", R"({"operation":"stop"})"},
        {"sys.localDms.ctrl", R"({"operation":"start","subsets":"甲"})"},
        {"sys.localDms.ctrl", R"({"operation":"start","subsets":"乙"})"},
        {"sys.localDms.ctrl", "no json"},
        {"sys.localDms.ctrl", ""},
        {"sys.localDms.ctrl", R"({"operation":"stop"})"},
        {"sys.localDms.reset", "why"},
        {"sys.localDms.ctrl", R"({"operation":"start"})"},
        {"sys.localDms.cancel", "because"},
    };
    for (const auto &[topic, data] : messages)
        send(topic, data);
    EXPECT_EQ(engineCalls(),
              (Lines{"asr_start", "asr_stop", "asr_cancel", "asr_start", "asr_cancel"}));
    EXPECT_EQ(log("ZQ-localDms subsets"),
              (Lines{"[I]  ZQ-localDms subsets: 甲", "[I]  ZQ-localDms subsets: NULL"}));
    EXPECT_EQ(log("params: why"), Lines{"[I]  ZQ-localDms onReset params: why"});
    EXPECT_EQ(log("params: because"), Lines{"[I]  ZQ-localDms onCancel params: because"});
}

TEST_F(DmsCalls, AudioIsFedAndCapturedOnlyWhileStarted)
{
    begin((R"({"asr":{"cachePcm":"true"},"homePath":")" + folder.path() + R"("})").c_str());
    send("sys.localVad.pcm", "too early");
    ask("start");
    send("sys.localVad.pcm", std::string("ab\0c", 4));
    published();
    scripted::setResult("ostrel_asr_feed", -9891);
    send("sys.localVad.pcm", "de");
    send("sys.localVad.pcm", "fg");
    EXPECT_EQ(published(), (Lines{kLimitReport, kLimitReport})) << "the limit, for each chunk";
    ask("stop");
    send("sys.localVad.pcm", "too late");
    published();
    std::string fed;
    for (const scripted::Call &one : scripted::calls("ostrel_asr_feed"))
        fed += one.pcm;
    EXPECT_EQ(fed, std::string("ab\0cdefg", 8));

    const Lines named = log("asr pcm path");
    ASSERT_EQ(named.size(), 1U);
    const std::string name = named[0].substr(named[0].find(": ") + 2 + folder.path().size());
    const std::string start = "/cache/asr/";
    const size_t end = name.find_first_not_of("0123456789abcdef", start.size());
    EXPECT_EQ(name.substr(0, start.size()) + name.substr(end), start + ".pcm") << name;
    EXPECT_TRUE(end > start.size() + 40 && end <= start.size() + 50) << "milliseconds, identifier";
    EXPECT_EQ(folder.read(name), fed);
}

TEST_F(DmsCalls, EveryStepOfANodesLifeIsLogged)
{
    constexpr const char *kDoubtful =
        R"({"grammar":{"rec":"x","conf":0.25},"ngram":{"rec":"abc"}})";
    begin(R"({"gram":{"res":"g"},"asr":{"res":"a","env":{"beam":0.5}},"fullDuplex":"true",)"
          R"("micType":"mono","aecMode":"external","wakeup":{"subsets":"甲"}})");
    ask("start", R"({"wakeupWord":"hello"})");
    EXPECT_EQ(published(),
              Lines{R"(vantel.error {"errId":-7288,"errMsg":"wakeupWords must chinese when )"
                    R"(using oneshot or must set words subsets"})"});
    EXPECT_EQ(scripted::calls("ostrel_asr_start").at(0).text, R"({"env":"beam=0.500000;"})");
    scripted::emit("ostrel_asr_feed", 0, kDoubtful);
    send("sys.localVad.pcm", "12");
    published();
    ask("stop");
    send("sys.localAgent.exit", "");
    published();
    end();
    Lines lines = log("ZQ-localDms");
    std::erase_if(lines, [](const std::string &line) {
        return line.find("feed old") != std::string::npos; // has times
    });
    EXPECT_EQ(lines,
              (Lines{"[I]  ZQ-localDms enable fullDuplex",
                     "[I]  ZQ-localDms micType is mono",
                     "[I]  ZQ-localDms aecMode is external",
                     R"([I]  ZQ-localDms native asr env: {"env":"beam=0.500000;"})",
                     R"([I]  ZQ-localDms-ldm, gram new gramcfg: {"res":"g"}, ret: 0)",
                     R"([I]  ZQ-localDms-ldm gram start, ret: 0, params: {"res":"g"})",
                     "[I]  ZQ-localDms-ldm gram delete, dret: 0",
                     R"([I]  ZQ-localDms-ldm, asr new asrcfg: {"res":"a","env":{"beam":0.5}})",
                     "[I]  ZQ-localDms  onNew success",
                     "[I]  ZQ-localDms onStart",
                     "[I]  ZQ-localDms clear wakeupWordSets",
                     "[E]  ZQ-localDms word must is chinese or config subsets",
                     "[I]  ZQ-localDms subsets: NULL",
                     R"([I]  ZQ-localDms-ldm asr start begin, params: {"env":"beam=0.500000;"})",
                     "[I]  ZQ-localDms-ldm asr start end, ret: 0",
                     "[V]  ZQ-localDms topic: sys.localVad.pcm, len: 2",
                     "[V]  ZQ-localDms onFeed",
                     std::string{"[I]  ZQ-localDms-ldm coreAsr result "} + kDoubtful,
                     "[E]  ZQ-localDms-ldm grammar asr drop, conf:0.250000",
                     "[I]  ZQ-localDms-ldm mix gram parse ret: -1",
                     "[I]  ZQ-localDms-ldm mix ngram parse ret: 0",
                     "[D]  ZQ-localDms-ldm asr feed, 0",
                     "[I]  ZQ-localDms onStop",
                     "[I]  ZQ-localDms-ldm asr stop, ret: 0",
                     "[V]  ZQ-localDms topic: sys.localAgent.exit, len: 0",
                     "[I]  ZQ-localDms sys exit",
                     "[I]  ZQ-localDms-ldm asr delete, ret: 0",
                     "[I]  ZQ-localDms onDelete"}));
}

} // namespace
