#include "platform/platform.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

using namespace vantel;

namespace
{

std::filesystem::path fromUtf8(const std::string &text)
{
    return std::filesystem::path{std::u8string{text.begin(), text.end()}};
}

TEST(Platform, NamesOfFilesAndFoldersAreUtf8AndContentsAreBytes)
{
    std::string folder = std::filesystem::temp_directory_path().generic_string() +
                         "/vantel-车载-é-" + std::to_string(platformProcessId());
    std::string path = folder + "/日志.pcm";
    EXPECT_FALSE(platformPathExists(folder.c_str()));
    ASSERT_EQ(platformMakeDirectory(folder.c_str()), 0);
    EXPECT_EQ(platformMakeDirectory(folder.c_str()), -1);

    const std::string bytes{"a\nb\r\n\x1a\0\xff", 9};
    std::FILE *file = platformOpenFile(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);

    EXPECT_TRUE(platformPathExists(path.c_str()));
    std::ifstream stream{fromUtf8(path), std::ios::binary};
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>{stream}, {}), bytes);
    stream.close();
    std::filesystem::remove_all(fromUtf8(folder));
}

TEST(Platform, LibrariesAreFoundByUtf8PathAndMissingOnesAreNull)
{
    EXPECT_EQ(platformLibraryOpen("/nowhere/没有.dll"), nullptr);
    static const int inThisProgram = 0;
    std::string folder = platformModuleDirectory(&inThisProgram);
    EXPECT_TRUE(std::filesystem::exists(fromUtf8(folder + "/" VANTEL_QUILLON_FILE))) << folder;
    void *library = platformLibraryOpen((folder + "/" VANTEL_QUILLON_FILE).c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(platformLibrarySymbol(library, "no_such_function"), nullptr);
    platformLibraryClose(library);
}

} // namespace
