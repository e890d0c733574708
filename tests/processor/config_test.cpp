// What the processor takes from the instance's configuration.
#include "src/processor/processorRecord.h"
#include "tests/support/system.h"
#include "tools/quenda_tool.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace vantel;
using Lines = std::vector<std::string>;

namespace
{

class Configuration : public testing::Test
{
protected:
    Configuration()
    {
        makeDirs((folder_ + "/cache/log").c_str());
        logInit(kVerbose, (folder_ + "/cache/log/vantel.log").c_str(), 0, 0);
    }
    ~Configuration() override
    {
        processorDelete(record);
        logRelease();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    // The lines that reading it left in the log.
    Lines read(const char *configuration)
    {
        processorDelete(record);
        const size_t before = support::readFile(folder_ + "/cache/log/vantel.log").size();
        record = processorNew(nullptr, configuration, nullptr);
        Lines lines = support::logLines(folder_, "", before);
        for (std::string &line : lines)
            line.erase(3, line.find("ZQ-localProcessor ") + 15);
        return lines;
    }
    std::vector<int32_t> durations() const
    {
        return {record->dmTimeOut, record->keepAliveTimeout, record->vadTimeout,
                record->oneshotTimeout};
    }

    ProcessorRecord *record = nullptr;

private:
    std::string folder_ = support::freshFolder();
};

TEST_F(Configuration, WithoutOneTheDefaultsHold)
{
    const Lines said = {"[I]disable streamData", "[I]disable fullDuplex", "[I]dm timeout is: 10000",
                        "[I]keepAlive timeout is: 120000"};
    for (const char *text : {static_cast<const char *>(nullptr), "", "{", "nonsense"}) {
        EXPECT_EQ(read(text), text ? said : Lines{});
        EXPECT_EQ(durations(), (std::vector{10000, 120000, 10000, 600}));
        EXPECT_EQ(record->flags, 0U);
        EXPECT_EQ(record->shouldEndSession, 1);
        EXPECT_EQ(record->status, DialogStatus::silence);
        EXPECT_STREQ(record->config.get(), text);
    }
}

TEST_F(Configuration, EveryOptionIsReadAndLoggedInItsOrder)
{
    const Lines lines =
        read(R"({"KEEPALIVETIMEOUT":7000.9,"dmTimeOut":5000,"cntts":{"privilege":"true"},)"
             R"("fullDuplex":"true","vprRuntime":{"disableVAD":"true"},"enableStreamData":true,)"
             R"("oneshot":{"enable":"true","timeout":700,"greetMode":"immediate"},)"
             R"("vad":{"fullMode":1,"timeout":800},"asr":{"disableVAD":"true"},"asrRes":"r"})");
    EXPECT_EQ(lines,
              (Lines{"[I]enable vad fullMode", "[I]enable oneshot", "[I]greetMode: immediate",
                     "[I]enable streamData", "[I]enable fullDuplex", "[I]enable vad fullMode",
                     "[I]dm timeout is: 5000", "[I]keepAlive timeout is: 7000"}));
    EXPECT_EQ(durations(), (std::vector{5000, 7000, 800, 700}));
    EXPECT_EQ(record->flags, kAsrResConfigured | kAsrDisableVad | kVadFullMode | kOneshotEnabled |
                                 kStreamData | kVprDisableVad | kFullDuplex | kCnttsPrivilege);
    EXPECT_EQ(record->greetImmediate, 1);
}

TEST_F(Configuration, ValuesOfTheWrongKindLeaveSwitchesOffAndDurationsAtNothing)
{
    read(R"({"asrRes":"","asr":{"disableVAD":true},"vad":{"fullMode":"1","timeout":"5"},)"
         R"("oneshot":{"enable":1,"timeout":[],"greetMode":"later"},"enableStreamData":"true",)"
         R"("vprRuntime":"true","fullDuplex":true,"cntts":{"privilege":"yes"},)"
         R"("dmTimeOut":"5000","keepAliveTimeout":null})");
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(record->greetImmediate, 0);
    EXPECT_EQ(durations(), (std::vector{0, 0, 0, 0}));
}

TEST_F(Configuration, FullDuplexAsksForTheFullModeOfTheVad)
{
    EXPECT_EQ(read(R"({"fullDuplex":"true","vad":{"fullMode":0}})")[2],
              "[E]enable fullDuplex, must use vad fullMode");
    EXPECT_EQ(record->flags, uint32_t{kFullDuplex});
    EXPECT_EQ(read(R"({"fullDuplex":"true","vad":{"timeout":5}})")[2], "[I]dm timeout is: 10000");
}

} // namespace
