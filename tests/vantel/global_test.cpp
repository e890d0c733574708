#include "include/vantel/vantel.h"
#include "tests/support/bench.h"

namespace
{

class Global : public Bench
{
protected:
    // What it leaves on the console.
    std::string init(const char *configuration, int32_t expected)
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(vantelInit(configuration), expected);
        return testing::internal::GetCapturedStdout();
    }
};

TEST_F(Global, WithoutAConfigurationThatIsJsonNothingIsLoaded)
{
    EXPECT_EQ(init(nullptr, -1), "");
    const std::string logged = init("{no", -1);
    EXPECT_NE(logged.find(" [I] src/vantel/vantel#"), std::string::npos);
    EXPECT_NE(logged.find("{no"), std::string::npos);
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(scripted::callNames(), Lines{});
}

TEST_F(Global, TheBannerNamesTheVersionsOfLibraryAndEngineParts)
{
    const std::string logged = init(R"({"level":3})", 0);
    size_t at = 0;
    for (const char *part : {"#  vantel vantel version: " VANTEL_VERSION "\n", "\nVAD_VERSION: ",
                             "\nGRAM_VERSION: ", "\nASR_VERSION: ", R"({"level":3})"}) {
        at = logged.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << logged;
    }
}

TEST_F(Global, LogsBelowTheDirectoryAndTellsTheEngineOfIt)
{
    const std::string configuration =
        R"({"level":1,"logDirPath":")" + folder.path() + R"(/x","engine":{"a":1}} tail)";
    EXPECT_EQ(init(configuration.c_str(), 0), "");
    EXPECT_FALSE(folder.read("x/cache/log/vantel.log").empty());
    ASSERT_EQ(scripted::callNames(), Lines{"ostrel_library_load"});
    EXPECT_EQ(scripted::calls()[0].text,
              "{\n\t\"level\":\t1,\n\t\"logDirPath\":\t\"" + folder.path() +
                  "/x\",\n\t\"engine\":\t{\n\t\t\"a\":\t1\n\t},\n\t\"logFile\":\t\"" +
                  folder.path() + "/x/cache/log/ostrel.log\",\n\t\"logEnable\":\ttrue\n}");

    vantelRelease();
    scripted::reset();
    init(R"({"mode":0})", 0);
    EXPECT_EQ(scripted::calls()[0].text, "{\n\t\"mode\":\t0\n}");
}

TEST_F(Global, PassesModeAndSizeToTheLog)
{
    const auto logAfter = [&](const std::string &members) {
        vantelInit((R"({"logDirPath":")" + folder.path() + "\"," + members + "}").c_str());
        vantelStartDialog(nullptr);
        vantelRelease();
        return folder.read("cache/log/vantel.log");
    };
    logAfter(R"("mode":0,"first":1)");
    const std::string both = logAfter(R"("mode":1,"second":1)");
    EXPECT_NE(both.find("first"), std::string::npos);
    EXPECT_NE(both.find("second"), std::string::npos);
    EXPECT_TRUE(logAfter(R"("mode":0,"size":0.0001)").starts_with("\nlog file size: "));
    const std::string odd = logAfter(R"("mode":0,"size":"5")");
    EXPECT_NE(odd.find(R"([W] src/vantel/vantel#)"), std::string::npos) << odd;
    EXPECT_NE(odd.find(R"("size": "5" is no number, 20 is used)"), std::string::npos) << odd;
}

TEST_F(Global, AFailedLoadGivesTheEnginesErrorAndKeepsTheConfiguration)
{
    scripted::setResult("ostrel_library_load", 7);
    scripted::setResult("ostrel_library_opt", -1234);
    EXPECT_EQ(vantelInit(logConfiguration().c_str()), -1234);
    EXPECT_EQ(scripted::callNames(), (Lines{"ostrel_library_load", "ostrel_library_opt"}));
    EXPECT_EQ(vantelNew(nullptr, nullptr, nullptr), nullptr);

    scripted::reset();
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(scripted::callNames(), Lines{}) << "nothing was loaded";
    beginSystem(nullptr);
    EXPECT_TRUE(handle) << "the stored configuration outlived the release";
}

TEST_F(Global, ReleaseUndoesALoadOnce)
{
    initialise();
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(scripted::callNames(), Lines{"ostrel_library_release"});
    EXPECT_EQ(vantelInit(logConfiguration().c_str()), 0);
}

TEST_F(Global, ASecondInitialisationReplacesTheConfigurationAndKeepsTheLog)
{
    initialise();
    EXPECT_EQ(init(R"({"level":4,"size":7})", 0), "");
    beginSystem("{}");
    EXPECT_EQ(spy::record()->busConfiguration,
              "{\n\t\"level\":\t4,\n\t\"mode\":\t0,\n\t\"size\":\t7\n}");
    forget();
    vantelStartDialog(nullptr);
    EXPECT_EQ(log().size(), 1U) << "only the refusal is an error; the entry line is below level 4";
}

} // namespace
