// What the processor takes from the instance's configuration.
#include "src/processor/processorRecord.h"
#include "tests/processor/dialog_texts.h"

using namespace vantel;
using namespace vantel::processor;

namespace
{

class Configuration : public Dialog
{
protected:
    // Reads it; the lines that this left in the log.
    Lines read(const char *configuration)
    {
        beginNode(Node::processor, configuration);
        record = static_cast<Instance *>(handle)->nodes->processor;
        return log();
    }
    std::vector<int32_t> durations() const
    {
        return {record->dmTimeOut, record->keepAliveTimeout, record->vadTimeout,
                record->oneshotTimeout};
    }

    ProcessorRecord *record = nullptr;
};

TEST_F(Configuration, WithoutOneTheDefaultsHold)
{
    const Lines said = {"[I]disable streamData", "[I]disable fullDuplex", "[I]dm timeout is: 10000",
                        "[I]keepAlive timeout is: 120000"};
    for (const char *text : {static_cast<const char *>(nullptr), "", "nonsense"}) {
        EXPECT_EQ(read(text), text ? said : Lines{});
        EXPECT_EQ(durations(), (std::vector{10000, 120000, 10000, 600}));
        EXPECT_EQ(record->flags, 0U);
        EXPECT_EQ(record->shouldEndSession, 1);
    }
}

TEST_F(Configuration, EveryOptionIsReadAndLoggedInItsOrder)
{
    EXPECT_EQ(
        read(R"({"KEEPALIVETIMEOUT":7000.9,"dmTimeOut":5000,"cntts":{"privilege":"true"},)"
             R"("fullDuplex":"true","vprRuntime":{"disableVAD":"true"},"enableStreamData":true,)"
             R"("oneshot":{"enable":"true","timeout":700,"greetMode":"immediate"},)"
             R"("vad":{"fullMode":1,"timeout":800},"asr":{"disableVAD":"true"},"asrRes":"r"})"),
        (Lines{"[I]enable vad fullMode", "[I]enable oneshot", "[I]greetMode: immediate",
               "[I]enable streamData", "[I]enable fullDuplex", "[I]enable vad fullMode",
               "[I]dm timeout is: 5000", "[I]keepAlive timeout is: 7000"}));
    EXPECT_EQ(durations(), (std::vector{5000, 7000, 800, 700}));
    EXPECT_EQ(record->flags, kAsrResConfigured | kAsrDisableVad | kVadFullMode | kOneshotEnabled |
                                 kStreamData | kVprDisableVad | vantel::processor::kFullDuplex |
                                 kCnttsPrivilege);
    EXPECT_EQ(record->greetImmediate, 1);
}

TEST_F(Configuration, ValuesOfTheWrongKindLeaveSwitchesOffAndDurationsAtNothing)
{
    const Lines said =
        read(R"({"asrRes":"","asr":{"disableVAD":true},"vad":{"fullMode":"1","timeout":"5"},)"
             R"("oneshot":{"enable":1,"timeout":[],"greetMode":"later"},"enableStreamData":"true",)"
             R"("vprRuntime":"true","fullDuplex":true,"cntts":{"privilege":"yes"},)"
             R"("dmTimeOut":"5000","keepAliveTimeout":null})");
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(record->greetImmediate, 0);
    EXPECT_EQ(durations(), (std::vector{0, 0, 0, 0}));
    EXPECT_EQ(
        said,
        (Lines{R"([W]"vad"."timeout": "5" is no number, 0 is used)",
               R"([W]"oneshot"."timeout": [] is no number, 0 is used)", "[I]disable streamData",
               "[I]disable fullDuplex", R"([W]"dmTimeOut": "5000" is no number, 0 is used)",
               "[I]dm timeout is: 0", R"([W]"keepAliveTimeout": null is no number, 0 is used)",
               "[I]keepAlive timeout is: 0"}));
    EXPECT_EQ(read(R"({"dmTimeOut":-5,"keepAliveTimeout":0})")[2],
              R"([W]"dmTimeOut": -5 is negative, this wait has no end)");
    EXPECT_EQ(durations(), (std::vector{-5, 0, 10000, 600}));
    EXPECT_EQ(read(R"({"fullDuplex":"true","vad":{"fullMode":0}})")[2],
              "[E]enable fullDuplex, must use vad fullMode");
    EXPECT_EQ(record->flags, uint32_t{vantel::processor::kFullDuplex});
}

} // namespace
