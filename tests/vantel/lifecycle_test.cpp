#include "tests/vantel/recorded_host.h"

#include "src/agent/agent_record.h"

#include <fstream>

namespace
{

using vantel::Instance;

class Lifecycle : public RecordedHost
{
protected:
    void initialise(const std::string &configuration)
    {
        ASSERT_EQ(vantelInit(configuration.c_str()), 0);
        forget();
    }
    void make(const char *params) { handle = vantelNew(params, nullptr, nullptr); }
    int32_t deleteIt()
    {
        int32_t result = vantelDelete(handle);
        handle = nullptr;
        return result;
    }
    Instance *instance() const { return static_cast<Instance *>(handle); }
    std::string nodeConfiguration() const
    {
        const char *text = instance()->nodes->agent->configuration.get();
        return text ? text : "(null)";
    }
    Lines ownLog() const { return log("#  vantel "); }
};

TEST_F(Lifecycle, LogsBothEndsOfAnInstance)
{
    initialise(logConfiguration());
    make(R"({"a":1} x)");
    char end[64];
    std::snprintf(end, sizeof end, "[I]  vantel  vantel onNew end, addr: %p", handle);
    EXPECT_EQ(ownLog(), (Lines{R"([I]  vantel vantel onNew begin, params: {"a":1} x)", end}));
    forget();
    EXPECT_EQ(deleteIt(), 0);
    EXPECT_EQ(ownLog(),
              (Lines{"[I]  vantel vantel onDelete begin", "[I]  vantel vantel onDelete"}));
    forget();
    EXPECT_EQ(vantelDelete(nullptr), 0);
    EXPECT_EQ(log(), Lines{});
}

TEST_F(Lifecycle, RefusesParametersThatAreNullOrNotJson)
{
    initialise(logConfiguration());
    for (const char *params : {static_cast<const char *>(nullptr), "", R"({"a":)"}) {
        forget();
        make(params);
        EXPECT_FALSE(handle);
        EXPECT_EQ(log(), (Lines{"[I]  vantel vantel onNew begin, params: " +
                                    std::string(params ? params : "NULL"),
                                "[E]  vantel not json string", "[E]  vantel not deviceId"}));
    }
    EXPECT_EQ(recording::calls(), Lines{});
}

TEST_F(Lifecycle, GivesTheNodesTheParametersAndThenTheLogSettings)
{
    initialise(logConfiguration());
    make(R"({"Level":4,"a":[]})");
    EXPECT_EQ(nodeConfiguration(), "{\n\t\"Level\":\t4,\n\t\"a\":\t[],\n\t\"level\":\t1,\n\t"
                                   "\"logDirPath\":\t\"" +
                                       folder + "\"\n}");
    deleteIt();
    vantelRelease();

    testing::internal::CaptureStdout();
    initialise(R"({"mode":1})");
    make("{}");
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(nodeConfiguration(), "{\n}");
}

TEST_F(Lifecycle, WithoutInitialisationReadsNoParametersAndTakesDefaults)
{
    make("no json, and not read");
    ASSERT_TRUE(handle);
    EXPECT_EQ(nodeConfiguration(), "(null)");
    EXPECT_EQ(recording::busConfiguration(),
              "{\n\t\"level\":\t2,\n\t\"mode\":\t0,\n\t\"size\":\t20\n}");
    EXPECT_EQ(vantelStartDialog(handle), 0);
}

TEST_F(Lifecycle, ConfiguresTheBusFromBothTexts)
{
    std::string common = "\n\t\"mode\":\t0,\n\t\"size\":\t20";
    std::string log = ",\n\t\"path\":\t\"" + folder + "/cache/log/quillon.log\"";
    const struct {
        std::string init, params, bus;
    } cases[] = {
        {logConfiguration(), "{}", "{\n\t\"level\":\t1," + common + log + "\n}"},
        {logConfiguration(), R"({"timerClickMs":3,"homePath":""})",
         "{\n\t\"level\":\t1," + common + log + "\n}"},
        {logConfiguration(), R"({"timerClickMs":5,"homePath":")" + folder + R"(/h"})",
         "{\n\t\"level\":\t1," + common + ",\n\t\"timerClickMs\":\t5" + log +
             ",\n\t\"homePath\":\t\"" + folder + "/h/cache/keys\"\n}"},
        {R"({"level":5,"mode":2,"size":1.5})", "{}",
         "{\n\t\"level\":\t5,\n\t\"mode\":\t2,\n\t\"size\":\t1.5\n}"},
    };
    testing::internal::CaptureStdout();
    for (const auto &[init, params, bus] : cases) {
        initialise(init);
        make(params.c_str());
        EXPECT_EQ(recording::busConfiguration(), bus);
        deleteIt();
        vantelRelease();
    }
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(std::filesystem::is_directory(folder + "/h/cache/keys"));
}

TEST_F(Lifecycle, GoesOnWithoutAKeyDirectoryAndRefusesLongPaths)
{
    initialise(logConfiguration());
    std::ofstream{folder + "/file"} << "not a directory";
    make((R"({"homePath":")" + folder + R"(/file"})").c_str());
    std::string keys = folder + "/file/cache/keys";
    EXPECT_EQ(log("create dir"), Lines{"[E]  vantel create dir failed, dirPath: " + keys});
    EXPECT_NE(recording::busConfiguration().find(keys), std::string::npos);
    deleteIt();

    make((R"({"homePath":")" + folder + "/" + std::string(256, 'x') + R"("})").c_str());
    EXPECT_TRUE(handle);
    EXPECT_EQ(recording::busConfiguration().find("homePath"), std::string::npos);
}

TEST_F(Lifecycle, BuildsOnePartAfterTheOtherAndTakesThemDownInOrder)
{
    initialise(logConfiguration());
    make("{}");
    EXPECT_EQ(recording::calls(),
              (Lines{"bus_new", "node_new localAgent", "subscribe localAgent",
                     "node_new localProcessor", "subscribe localProcessor", "node_new localDms",
                     "subscribe localDms", "node_new localVad", "subscribe localVad"}));
    Lines threads = log("创建线程");
    ASSERT_EQ(threads.size(), 5U);
    const char *names[] = {"sbcp_server", "sbcp_agent", "sbcp_processor", "sbcp_dms", "sbcp_vad"};
    for (size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(threads[i].ends_with(std::string("name: ") + names[i])) << threads[i];

    size_t built = recording::calls().size();
    forget();
    deleteIt();
    Lines calls = recording::calls();
    calls.erase(calls.begin(), calls.begin() + static_cast<std::ptrdiff_t>(built));
    EXPECT_EQ(calls, (Lines{"publish localAgent sys.localAgent.exit", "stop localAgent",
                            "delete localAgent", "stop localVad", "delete localVad",
                            "stop localDms", "delete localDms", "stop localProcessor",
                            "delete localProcessor", "server_stop", "bus_delete"}));
    ASSERT_EQ(recording::published().size(), 1U);
    EXPECT_TRUE(recording::published()[0].isNull);
}

TEST_F(Lifecycle, AnInstanceWithoutABusRefusesEverythingAndCanBeDeleted)
{
    initialise(logConfiguration());
    recording::refuseBuses(true);
    make(R"({"vad":{},"recorder":{"mode":"external"}})");
    ASSERT_TRUE(handle);
    EXPECT_FALSE(instance()->bus);
    EXPECT_EQ(vantelFeedData(handle, "pcm", 3), -1);
    EXPECT_EQ(vantelStartDialog(handle), -1);
    EXPECT_EQ(deleteIt(), 0);
    EXPECT_EQ(recording::calls(), Lines{"bus_new"});
}

TEST_F(Lifecycle, InstancesHaveBusesOfTheirOwn)
{
    initialise(logConfiguration());
    make("{}");
    void *other = vantelNew("{}", nullptr, nullptr);
    EXPECT_NE(static_cast<Instance *>(other)->bus, instance()->bus);
    deleteIt();
    recording::forgetPublished();
    EXPECT_EQ(vantelStartDialog(other), 0);
    EXPECT_EQ(recording::published().size(), 1U);
    vantelDelete(other);
}

} // namespace
