#include "platform/platform.h"
#include "tools/quenda_tool.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

using namespace vantel;

namespace
{

class Directories : public testing::Test
{
protected:
    Directories()
    {
        base_ = (std::filesystem::temp_directory_path() /
                 ("vantel-dirs-" + std::to_string(platformProcessId())))
                    .generic_string();
        std::filesystem::remove_all(base_);
        std::filesystem::create_directory(base_);
    }
    ~Directories() override { std::filesystem::remove_all(base_); }

    std::string base_;
};

TEST_F(Directories, AreMadeWithTheirParents)
{
    EXPECT_EQ(makeDirs(base_.c_str()), 0);
    EXPECT_EQ(makeDirs((base_ + "/a/b/c").c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(base_ + "/a/b/c"));
    EXPECT_EQ(makeDirs((base_ + "/a/d/").c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(base_ + "/a/d"));
    EXPECT_EQ(makeDirs((base_ + "/车载/缓存").c_str()), 0);
    EXPECT_TRUE(platformPathExists((base_ + "/车载/缓存").c_str()));
}

TEST_F(Directories, FailBelowAFileAndForPathsThatAreNone)
{
    std::ofstream{base_ + "/file"} << "x";
    EXPECT_EQ(makeDirs((base_ + "/file").c_str()), 0); // any kind of entry counts as existing
    EXPECT_EQ(makeDirs((base_ + "/file/below").c_str()), -1);
    EXPECT_EQ(makeDirs(""), -1);
    EXPECT_EQ(makeDirs(nullptr), -1);
    EXPECT_EQ(makeDirs((base_ + "/" + std::string(512, 'x')).c_str()), -1);
}

} // namespace
