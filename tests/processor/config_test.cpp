// What the processor takes from the instance's configuration.
#include "src/processor/processorRecord.h"
#include "tests/support/system.h"
#include "tools/quenda_tool.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>

using namespace vantel;
using Lines = std::vector<std::string>;

namespace
{

class Configuration : public testing::Test
{
protected:
    Configuration() : folder_(support::freshFolder())
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

    void read(const char *configuration)
    {
        processorDelete(record);
        logStart_ = support::readFile(folder_ + "/cache/log/vantel.log").size();
        record = processorNew(nullptr, configuration, nullptr);
        ASSERT_TRUE(record);
    }
    Lines log() const { return support::logLines(folder_, "", logStart_); }
    Lines durations() const
    {
        Lines texts;
        for (int32_t duration : {record->dmTimeOut, record->keepAliveTimeout, record->vadTimeout,
                                 record->oneshotTimeout})
            texts.push_back(std::to_string(duration));
        return texts;
    }

    ProcessorRecord *record = nullptr;

private:
    std::string folder_;
    size_t logStart_ = 0;
};

const Lines kDefaultDurations = {"10000", "120000", "10000", "600"};

TEST_F(Configuration, WithoutOneTheDefaultsHoldSilently)
{
    read(nullptr);
    EXPECT_EQ(durations(), kDefaultDurations);
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(record->shouldEndSession, 1);
    EXPECT_EQ(record->status, DialogStatus::silence);
    EXPECT_EQ(log(), Lines{});
}

TEST_F(Configuration, ATextThatIsNotJsonLeavesTheDefaultsAndSaysSo)
{
    for (const char *text : {"", "{", "nonsense"}) {
        read(text);
        EXPECT_EQ(durations(), kDefaultDurations);
        EXPECT_EQ(record->flags, 0U);
        EXPECT_STREQ(record->config.get(), text);
        EXPECT_EQ(log(), (Lines{"[I]  ZQ-localProcessor disable streamData",
                                "[I]  ZQ-localProcessor disable fullDuplex",
                                "[I]  ZQ-localProcessor dm timeout is: 10000",
                                "[I]  ZQ-localProcessor keepAlive timeout is: 120000"}));
    }
}

TEST_F(Configuration, EveryOptionIsReadAndLoggedInItsOrder)
{
    read(R"({"KEEPALIVETIMEOUT":7000.9,"dmTimeOut":5000,"cntts":{"privilege":"true"},)"
         R"("fullDuplex":"true","vprRuntime":{"disableVAD":"true"},"enableStreamData":true,)"
         R"("oneshot":{"enable":"true","timeout":700,"greetMode":"immediate"},)"
         R"("vad":{"fullMode":1,"timeout":800},"asr":{"disableVAD":"true"},"asrRes":"r"})");
    EXPECT_EQ(durations(), (Lines{"5000", "7000", "800", "700"}));
    EXPECT_EQ(record->flags, kAsrResConfigured | kAsrDisableVad | kVadFullMode | kOneshotEnabled |
                                 kStreamData | kVprDisableVad | kFullDuplex | kCnttsPrivilege);
    EXPECT_EQ(record->greetImmediate, 1);
    EXPECT_EQ(log(), (Lines{"[I]  ZQ-localProcessor enable vad fullMode",
                            "[I]  ZQ-localProcessor enable oneshot",
                            "[I]  ZQ-localProcessor greetMode: immediate",
                            "[I]  ZQ-localProcessor enable streamData",
                            "[I]  ZQ-localProcessor enable fullDuplex",
                            "[I]  ZQ-localProcessor enable vad fullMode",
                            "[I]  ZQ-localProcessor dm timeout is: 5000",
                            "[I]  ZQ-localProcessor keepAlive timeout is: 7000"}));
}

TEST_F(Configuration, ValuesOfTheWrongKindLeaveSwitchesOffAndDurationsAtNothing)
{
    read(R"({"asrRes":"","asr":{"disableVAD":true},"vad":{"fullMode":"1","timeout":"5"},)"
         R"("oneshot":{"enable":1,"timeout":[],"greetMode":"later"},"enableStreamData":"true",)"
         R"("vprRuntime":"true","fullDuplex":true,"cntts":{"privilege":"yes"},)"
         R"("dmTimeOut":"5000","keepAliveTimeout":null})");
    EXPECT_EQ(record->flags, 0U);
    EXPECT_EQ(record->greetImmediate, 0);
    EXPECT_EQ(durations(), (Lines{"0", "0", "0", "0"}));
    EXPECT_EQ(log()[1], "[I]  ZQ-localProcessor disable fullDuplex");
}

TEST_F(Configuration, FullDuplexAsksForTheFullModeOfTheVad)
{
    read(R"({"fullDuplex":"true","vad":{"fullMode":0}})");
    EXPECT_EQ(record->flags, uint32_t{kFullDuplex});
    EXPECT_EQ(log()[2], "[E]  ZQ-localProcessor enable fullDuplex, must use vad fullMode");
    read(R"({"fullDuplex":"true","vad":{"timeout":5}})");
    EXPECT_EQ(log()[2], "[I]  ZQ-localProcessor dm timeout is: 10000");
}

} // namespace
