// Files, folders and libraries by names in UTF-8.
#include "tests/support/folder.h"
#include "tools/quenda_tool.h"

#include <gtest/gtest.h>

using namespace vantel;
namespace fs = std::filesystem;

namespace
{

fs::path fromUtf8(const std::string &text)
{
    return fs::path{std::u8string{text.begin(), text.end()}};
}

TEST(Platform, NamesOfFilesAndFoldersAreUtf8AndContentsAreBytes)
{
    Folder folder;
    const std::string below = folder / "车载-é";
    const std::string path = below + "/日志.pcm";
    EXPECT_FALSE(platformPathExists(below.c_str()));
    ASSERT_EQ(platformMakeDirectory(below.c_str()), 0);
    EXPECT_EQ(platformMakeDirectory(below.c_str()), -1);

    const std::string bytes{"a\nb\r\n\x1a\0\xff", 8};
    std::FILE *file = platformOpenFile(path.c_str(), "wb");
    ASSERT_NE(file, nullptr);
    std::fwrite(bytes.data(), 1, bytes.size(), file);
    std::fclose(file);
    EXPECT_TRUE(platformPathExists(path.c_str()));
    EXPECT_EQ(fs::file_size(fromUtf8(path)), bytes.size());
    EXPECT_EQ(folder.read("车载-é/日志.pcm"), bytes);
}

TEST(Platform, LibrariesAreFoundByUtf8PathAndMissingOnesAreNull)
{
    EXPECT_EQ(platformLibraryOpen("/nowhere/没有.dll"), nullptr);
    static const int inThisProgram = 0;
    std::string path = platformModuleDirectory(&inThisProgram) + "/" VANTEL_QUILLON_FILE;
    EXPECT_TRUE(fs::exists(fromUtf8(path))) << path;
    void *library = platformLibraryOpen(path.c_str());
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(platformLibrarySymbol(library, "no_such_function"), nullptr);
    platformLibraryClose(library);
}

TEST(Directories, AreMadeWithTheirParents)
{
    Folder folder;
    for (const char *name : {"", "a/b/c", "a/d/", "车载/缓存"}) {
        EXPECT_EQ(makeDirs((folder / name).c_str()), 0) << name;
        EXPECT_TRUE(fs::is_directory(fromUtf8(folder / name))) << name;
    }
}

TEST(Directories, FailBelowAFileAndForPathsThatAreNone)
{
    Folder folder;
    EXPECT_EQ(makeDirs(folder.write("file", "x").c_str()), 0); // any kind of entry is there already
    EXPECT_EQ(makeDirs((folder / "file/below").c_str()), -1);
    EXPECT_EQ(makeDirs((folder / std::string(512, 'x')).c_str()), -1);
    EXPECT_EQ(makeDirs(""), -1);
    EXPECT_EQ(makeDirs(nullptr), -1);
}

} // namespace
