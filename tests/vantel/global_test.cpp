#include "include/vantel/vantel.h"
#include "tests/support/bench.h"

namespace
{

class Global : public Bench
{
protected:
    std::string init(const char *configuration, int32_t expected)
    {
        testing::internal::CaptureStdout();
        EXPECT_EQ(vantelInit(configuration), expected);
        return testing::internal::GetCapturedStdout();
    }
    std::string logFile() const { return folder + "/cache/log/vantel.log"; }
};

TEST_F(Global, ANullConfigurationDoesNothing)
{
    EXPECT_EQ(init(nullptr, -1), "");
    EXPECT_EQ(scripted::callNames(), Lines{});
}

TEST_F(Global, AConfigurationThatIsNotJsonIsLoggedOnTheConsoleOnly)
{
    std::string logged = init("{no", -1);
    EXPECT_NE(logged.find(" [I] src/vantel/vantel#"), std::string::npos);
    EXPECT_NE(logged.find("{no"), std::string::npos);
    EXPECT_EQ(scripted::callNames(), Lines{});
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(scripted::callNames(), Lines{});
}

TEST_F(Global, TheBannerNamesTheVersionsOfLibraryAndEngineParts)
{
    std::string logged = init(R"({"level":3})", 0);
    size_t at = logged.find("#  vantel vantel version: " VANTEL_VERSION "\n");
    ASSERT_NE(at, std::string::npos) << logged;
    for (const char *part : {"\nVAD_VERSION: ", "\nGRAM_VERSION: ", "\nASR_VERSION: "}) {
        at = logged.find(part, at);
        ASSERT_NE(at, std::string::npos) << part << logged;
    }
    EXPECT_NE(logged.find(R"({"level":3})", at), std::string::npos);
}

TEST_F(Global, LogsBelowTheDirectoryAndTellsTheEngineOfIt)
{
    std::string configuration =
        R"({"level":1,"logDirPath":")" + folder + R"(/x","engine":{"a":1}} tail)";
    EXPECT_EQ(init(configuration.c_str(), 0), "");
    std::string directory = folder + "/x/cache/log";
    EXPECT_FALSE(readFile(directory + "/vantel.log").empty());
    ASSERT_EQ(scripted::calls().size(), 1U);
    EXPECT_EQ(scripted::calls()[0].function, "ostrel_library_load");
    EXPECT_EQ(scripted::calls()[0].text,
              "{\n\t\"level\":\t1,\n\t\"logDirPath\":\t\"" + folder +
                  "/x\",\n\t\"engine\":\t{\n\t\t\"a\":\t1\n\t},\n\t\"logFile\":\t\"" + directory +
                  "/ostrel.log\",\n\t\"logEnable\":\ttrue\n}");

    vantelRelease();
    scripted::reset();
    init(R"({"mode":0})", 0);
    EXPECT_EQ(scripted::calls()[0].text, "{\n\t\"mode\":\t0\n}");
}

TEST_F(Global, PassesModeAndSizeToTheLog)
{
    auto configuration = [&](const char *members) {
        return R"({"logDirPath":")" + folder + "\"," + members + "}";
    };
    vantelInit(configuration(R"("mode":0,"first":1)").c_str());
    vantelRelease();
    vantelInit(configuration(R"("mode":1,"second":1)").c_str());
    vantelRelease();
    EXPECT_NE(readFile(logFile()).find("first"), std::string::npos);
    EXPECT_NE(readFile(logFile()).find("second"), std::string::npos);

    vantelInit(configuration(R"("mode":0,"size":0.0001,"third":1)").c_str());
    vantelStartDialog(nullptr);
    EXPECT_TRUE(readFile(logFile()).starts_with("\nlog file size: "));
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
    EXPECT_EQ(scripted::callNames(), Lines{});
    handle = vantelNew(nullptr, nullptr, nullptr);
    EXPECT_TRUE(handle) << "the stored configuration outlived the release";
}

TEST_F(Global, ReleaseUndoesALoadOnce)
{
    EXPECT_EQ(vantelInit(logConfiguration().c_str()), 0);
    scripted::reset();
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(vantelRelease(), 0);
    EXPECT_EQ(scripted::callNames(), Lines{"ostrel_library_release"});
    EXPECT_EQ(vantelInit(logConfiguration().c_str()), 0);
}

TEST_F(Global, ASecondInitialisationReplacesTheConfigurationAndKeepsTheLog)
{
    vantelInit(logConfiguration().c_str());
    EXPECT_EQ(init(R"({"level":4,"size":7})", 0), "");
    handle = vantelNew("{}", nullptr, nullptr);
    EXPECT_EQ(spy::record()->busConfiguration,
              "{\n\t\"level\":\t4,\n\t\"mode\":\t0,\n\t\"size\":\t7\n}");
    forget();
    vantelStartDialog(nullptr);
    EXPECT_EQ(log().size(), 1U) << "only the refusal is an error; the entry line is below level 4";
}

} // namespace
