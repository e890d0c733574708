#include "include/vantel/vantel.h"
#include "tests/support/bench.h"

#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace
{

using Permissions = Bench;

TEST_F(Permissions, OfLogsAndCapturesAreTheOwnersAlone)
{
    initialise();
    const std::string home = folder / "home";
    beginSystem((R"({"recorder":{"mode":"external"},"homePath":")" + home +
                 R"(","vad":{"cachePcm":"true"},"asr":{"cachePcm":"true"},"gram":{}})")
                    .c_str());
    scripted::emit("ostrel_vad_feed", 1, "speech");
    vantelStartDialog(handle);
    settle();
    vantelFeedData(handle, "pcm.", 4);
    settle();
    const auto others = fs::perms::group_all | fs::perms::others_all;
    Lines found;
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator{folder.path()}) {
        EXPECT_EQ(entry.status().permissions() & others, fs::perms::none) << entry.path();
        if (entry.is_regular_file()) found.push_back(entry.path().extension().string());
    }
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, (Lines{".log", ".log", ".pcm", ".pcm", ".pcm"}));
}

} // namespace
