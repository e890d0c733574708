// Files that are no files, and who may read what the system writes.
#include "tests/support/folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace vantel;
namespace fs = std::filesystem;

namespace
{

TEST(Files, ThatMayNeverEndAreNotRead)
{
    Folder folder;
    const std::string pipe = folder / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &path : {std::string{"/dev/zero"}, pipe, folder.path()}) {
        std::string content = "before";
        EXPECT_FALSE(readFile(path, &content)) << path;
        EXPECT_EQ(content, "");
    }
    std::string content;
    const std::string path = folder.write("file", std::string(100000, 'x'));
    EXPECT_TRUE(readFile(path, &content, 100000));
    EXPECT_EQ(content.size(), 100000U);
    EXPECT_FALSE(readFile(path, &content, 99999));
    EXPECT_EQ(content, "");
}

TEST(Files, OfOnesOwnAreReadByNobodyElse)
{
    Folder folder;
    const std::string inner = folder / "inner";
    ASSERT_EQ(platformMakeDirectory(inner.c_str()), 0);
    for (const char *mode : {"wb", "ab", "ab+"}) {
        const std::string path = inner + "/" + mode;
        for (int i = 0; i < 2; ++i) {
            std::FILE *file = platformOpenPrivateFile(path.c_str(), mode);
            ASSERT_NE(file, nullptr);
            EXPECT_EQ(std::fputs("x", file) >= 0, true);
            std::fclose(file);
        }
        EXPECT_EQ(folder.read(std::string("inner/") + mode), *mode == 'a' ? "xx" : "x");
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    }
    EXPECT_EQ(fs::status(inner).permissions(), fs::perms::owner_all);
}

} // namespace
