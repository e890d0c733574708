// Loading of the engine library: what is refused, with which code, and what the log says.
#include "ostrel/library.h"

#include "contracts/ostrel.h"
#include "ostrel/asr/asr_options.h"
#include "tests/support/folder.h"

#include <gtest/gtest.h>

using namespace vantel::ostrel;

namespace
{

struct Loading : testing::Test {
    ~Loading() override { ostrel_library_release(); }

    int32_t load(const std::string &members)
    {
        std::string text = R"({"logEnable":true,"logFile":")" + folder / "log" + "\"," + members;
        return ostrel_library_load((text + "}").c_str());
    }
    int32_t loadWith(const std::string &resources)
    {
        return load("\"resources\":\"" + resources + "\"");
    }
    bool logHas(const std::string &text) const
    {
        return folder.read("log").find(text) != std::string::npos;
    }

    Folder folder;
};

TEST_F(Loading, BrokenConfigurationsAreRefusedAndTheCodeIsKept)
{
    for (const char *text : {static_cast<const char *>(nullptr), "", "no", "[1]"}) {
        EXPECT_EQ(ostrel_library_load(text), kConfigurationBroken);
        EXPECT_EQ(ostrel_library_opt(1, 0, 0), kConfigurationBroken);
    }
    EXPECT_EQ(loadWith("/no/such/folder"), kResourcesMissing);
    EXPECT_EQ(ostrel_library_opt(1, 0, 0), kResourcesMissing);
    EXPECT_TRUE(logHas("/no/such/folder"));
    EXPECT_EQ(library(), nullptr);
    EXPECT_EQ(load("\"level\":2"), 0);
    EXPECT_EQ(ostrel_library_opt(1, 0, 0), 0);
}

TEST_F(Loading, ThresholdInPlaceOfTheConfidenceScaleIsWarnedOf)
{
    AsrOptions options;
    ASSERT_EQ(load("\"level\":3"), 0);
    EXPECT_TRUE(readAsrOptions(R"({"confidenceScale":{"offset":1}})", &options));
    EXPECT_EQ(options.scale->offset, 1);
    EXPECT_FALSE(logHas("confidence"));
    EXPECT_TRUE(readAsrOptions(R"({"confidence":0.6})", &options));
    EXPECT_FALSE(options.scale);
    EXPECT_TRUE(logHas("\"confidence\" is no setting"));
    EXPECT_TRUE(readAsrOptions(R"({"confidenceScale":0.6})", &options));
    EXPECT_FALSE(options.scale);
    EXPECT_TRUE(logHas("\"confidenceScale\" is no object"));
}

TEST_F(Loading, FailedLoadLeavesAnEarlierOneInPlace)
{
    ASSERT_EQ(load("\"mine\":1"), 0);
    EXPECT_EQ(loadWith("/no/such/folder"), kResourcesMissing);
    ASSERT_NE(library(), nullptr);
    EXPECT_EQ(vantel::jsonInt(library()->configuration.get(), "mine", 0), 1);
    ostrel_library_release();
    EXPECT_EQ(library(), nullptr);
}

TEST_F(Loading, ConfiguredResourcesComeFirst)
{
    std::string path = folder.write("words.txt", "one");
    ASSERT_EQ(loadWith(folder / ""), 0);
    EXPECT_TRUE(std::filesystem::equivalent(findResource("words.txt"), path));
    EXPECT_EQ(findResource("no/such/file"), "");
}

TEST_F(Loading, BrokenModelsAndRuntimesAreNamed)
{
    EXPECT_EQ(load("\"onnxRuntime\":\"\""), 0) << "without inference there is nothing to break";
    ostrel_library_release();
    if (!HAS_SILERO) GTEST_SKIP() << "this build could not get the inference runtime and its model";
    folder.write("silero_vad_v5.onnx", "not a model");
    EXPECT_EQ(loadWith(folder / ""), kModelBroken);
    EXPECT_TRUE(logHas("silero_vad_v5.onnx"));
    EXPECT_EQ(library(), nullptr);
}

TEST_F(Loading, LogIsWrittenWhenAskedFor)
{
    ASSERT_EQ(load("\"level\":3"), 0);
    EXPECT_TRUE(logHas("engine loaded"));
    ostrel_library_release();
    ASSERT_EQ(load("\"level\":5"), 0);
    EXPECT_EQ(folder.read("log"), "");
}

} // namespace
