// Loading of the engine library: what is refused, with which code, and what the log says.
#include "contracts/ostrel.h"
#include "ostrel/library.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

using namespace vantel::ostrel;

namespace
{

namespace fs = std::filesystem;

class Loading : public testing::Test
{
protected:
    void SetUp() override
    {
        const auto *test = testing::UnitTest::GetInstance()->current_test_info();
        folder = fs::temp_directory_path() / "vantel-engine" / test->name();
        fs::remove_all(folder);
        fs::create_directories(folder);
    }

    void TearDown() override
    {
        ostrel_library_release();
        fs::remove_all(folder);
    }

    int32_t load(const std::string &members)
    {
        std::string log = (folder / "engine.log").generic_string();
        return ostrel_library_load(
            ("{\"logEnable\":true,\"logFile\":\"" + log + "\"," + members + "}").c_str());
    }

    std::string log() const
    {
        std::ifstream file{folder / "engine.log", std::ios::binary};
        return {std::istreambuf_iterator<char>{file}, {}};
    }

    fs::path folder;
};

TEST_F(Loading, BrokenConfigurationsAreRefusedAndTheCodeIsKept)
{
    for (const char *text : {static_cast<const char *>(nullptr), "", "no", "[1]"}) {
        EXPECT_EQ(ostrel_library_load(text), kConfigurationBroken);
        EXPECT_EQ(ostrel_library_opt(1, 0, 0), kConfigurationBroken);
    }
    EXPECT_EQ(library(), nullptr);
    EXPECT_EQ(load("\"resources\":\"/no/such/folder\""), kResourcesMissing);
    EXPECT_EQ(ostrel_library_opt(1, 0, 0), kResourcesMissing);
    EXPECT_NE(log().find("/no/such/folder"), std::string::npos) << log();
    EXPECT_EQ(load("\"level\":2"), 0);
    EXPECT_EQ(ostrel_library_opt(1, 0, 0), 0);
}

TEST_F(Loading, FailedLoadLeavesAnEarlierOneInPlace)
{
    ASSERT_EQ(load("\"mine\":1"), 0);
    EXPECT_EQ(load("\"resources\":\"/no/such/folder\""), kResourcesMissing);
    ASSERT_NE(library(), nullptr);
    EXPECT_EQ(vantel::jsonInt(library()->configuration.get(), "mine", 0), 1);
    ostrel_library_release();
    EXPECT_EQ(library(), nullptr);
}

TEST_F(Loading, ConfiguredResourcesComeFirst)
{
    std::string resources = folder.generic_string();
    std::ofstream{folder / "words.txt"} << "one";
    ASSERT_EQ(load("\"resources\":\"" + resources + "\""), 0);
    EXPECT_EQ(findResource("words.txt"), resources + "/words.txt");
    EXPECT_EQ(findResource("no/such/file"), "");
}

TEST_F(Loading, BrokenModelsAndRuntimesAreNamed)
{
    std::string resources = folder.generic_string();
    EXPECT_EQ(load("\"onnxRuntime\":\"\""), 0) << "without inference there is nothing to break";
    ostrel_library_release();
    if (!HAS_SILERO) GTEST_SKIP() << "this build could not get the inference runtime and its model";
    std::ofstream{folder / "silero_vad_v5.onnx"} << "not a model";
    EXPECT_EQ(load("\"resources\":\"" + resources + "\""), kModelBroken);
    EXPECT_NE(log().find(resources + "/silero_vad_v5.onnx"), std::string::npos) << log();
    EXPECT_EQ(library(), nullptr);
}

TEST_F(Loading, LogIsWrittenWhenAskedFor)
{
    ASSERT_EQ(load("\"level\":3"), 0);
    EXPECT_NE(log().find("engine loaded"), std::string::npos);
    ostrel_library_release();
    ASSERT_EQ(load("\"level\":5"), 0);
    EXPECT_EQ(log(), "");
}

} // namespace
