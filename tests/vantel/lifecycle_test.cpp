#include "include/vantel/vantel.h"
#include "src/agent/agent_record.h"
#include "src/node/instance.h"
#include "tests/support/bench.h"

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <future>
#include <thread>

namespace
{

using vantel::Instance;

class Lifecycle : public Bench
{
protected:
    Instance *instance() const { return static_cast<Instance *>(handle); }
    // Of the bus and of the nodes, the latter "(null)" when there is none.
    static std::string busConfiguration() { return spy::record()->busConfiguration; }
    std::string nodeConfiguration() const
    {
        const char *text = instance()->nodes->agent->configuration.get();
        return text ? text : "(null)";
    }
};

TEST_F(Lifecycle, LogsBothEndsOfAnInstance)
{
    initialise();
    beginSystem(R"({"a":1} x)");
    char made[64];
    std::snprintf(made, sizeof made, "[I]  vantel  vantel onNew end, addr: %p", handle);
    EXPECT_EQ(log("]  vantel "),
              (Lines{R"([I]  vantel vantel onNew begin, params: {"a":1} x)", made}));
    forget();
    end();
    EXPECT_EQ(log("]  vantel "),
              (Lines{"[I]  vantel vantel onDelete begin", "[I]  vantel vantel onDelete"}));
    forget();
    EXPECT_EQ(vantelDelete(nullptr), 0);
    EXPECT_EQ(log(), Lines{});
}

TEST_F(Lifecycle, RefusesParametersThatAreNullOrNotJson)
{
    initialise();
    for (const char *params : {static_cast<const char *>(nullptr), "", R"({"a":)"}) {
        forget();
        beginSystem(params);
        EXPECT_FALSE(handle);
        EXPECT_EQ(log(), (Lines{"[I]  vantel vantel onNew begin, params: " +
                                    std::string(params ? params : "NULL"),
                                "[E]  vantel not json string", "[E]  vantel not deviceId"}));
    }
    EXPECT_EQ(spy::record()->lives, Lines{});
}

TEST_F(Lifecycle, GivesTheNodesTheParametersAndThenTheLogSettings)
{
    initialise();
    beginSystem(R"({"Level":4,"a":[]})");
    EXPECT_EQ(nodeConfiguration(), "{\n\t\"Level\":\t4,\n\t\"a\":\t[],\n\t\"level\":\t1,\n\t"
                                   "\"logDirPath\":\t\"" +
                                       folder.path() + "\"\n}");
}

TEST_F(Lifecycle, WithoutInitialisationReadsNoParametersAndTakesDefaults)
{
    beginSystem("no json, and not read");
    ASSERT_TRUE(handle);
    EXPECT_EQ(nodeConfiguration(), "(null)");
    EXPECT_EQ(busConfiguration(), "{\n\t\"level\":\t2,\n\t\"mode\":\t0,\n\t\"size\":\t20\n}");
    EXPECT_EQ(vantelStartDialog(handle), 0);
}

TEST_F(Lifecycle, ConfiguresTheBusFromBothTexts)
{
    const std::string common = "{\n\t\"level\":\t1,\n\t\"mode\":\t0,\n\t\"size\":\t20";
    const std::string log = ",\n\t\"path\":\t\"" + folder.path() + "/cache/log/quillon.log\"";
    const struct {
        std::string init, params, bus;
    } cases[] = {
        {logConfiguration(), "{}", common + log + "\n}"},
        {logConfiguration(), R"({"timerClickMs":3,"homePath":""})", common + log + "\n}"},
        {logConfiguration(), R"({"timerClickMs":5,"homePath":")" + folder.path() + R"(/h"})",
         common + ",\n\t\"timerClickMs\":\t5" + log + ",\n\t\"homePath\":\t\"" + folder.path() +
             "/h/cache/keys\"\n}"},
        {R"({"level":5,"mode":2,"size":1.5})", "{}",
         "{\n\t\"level\":\t5,\n\t\"mode\":\t2,\n\t\"size\":\t1.5\n}"},
    };
    for (const auto &[init, params, bus] : cases) {
        ASSERT_EQ(vantelInit(init.c_str()), 0);
        beginSystem(params.c_str());
        EXPECT_EQ(busConfiguration(), bus);
        end();
        vantelRelease();
    }
    EXPECT_TRUE(std::filesystem::is_directory(folder / "h/cache/keys"));
}

TEST_F(Lifecycle, GoesOnWithoutAKeyDirectoryAndRefusesLongPaths)
{
    initialise();
    const std::string keys = folder.write("file", "not a directory") + "/cache/keys";
    beginSystem((R"({"homePath":")" + (folder / "file") + R"("})").c_str());
    EXPECT_EQ(log("create dir"), Lines{"[E]  vantel create dir failed, dirPath: " + keys});
    EXPECT_NE(busConfiguration().find(keys), std::string::npos);
    beginSystem(
        (R"({"homePath":")" + folder.path() + "/" + std::string(256, 'x') + R"("})").c_str());
    EXPECT_TRUE(handle);
    EXPECT_EQ(busConfiguration().find("homePath"), std::string::npos);
}

TEST_F(Lifecycle, BuildsOnePartAfterTheOtherAndTakesThemDownInOrder)
{
    initialise();
    beginSystem("{}");
    EXPECT_EQ(spy::record()->lives,
              (Lines{"bus_new", "node_new localAgent", "subscribe localAgent",
                     "node_new localProcessor", "subscribe localProcessor", "node_new localDms",
                     "subscribe localDms", "node_new localVad", "subscribe localVad"}));
    const Lines threads = log("创建线程");
    ASSERT_EQ(threads.size(), 5U);
    const char *names[] = {"sbcp_server", "sbcp_agent", "sbcp_processor", "sbcp_dms", "sbcp_vad"};
    for (size_t i = 0; i < 5; ++i)
        EXPECT_TRUE(threads[i].ends_with(std::string("name: ") + names[i])) << threads[i];

    spy::record()->lives.clear();
    end();
    EXPECT_EQ(spy::record()->lives,
              (Lines{"exit localAgent", "delete localAgent", "delete localVad", "delete localDms",
                     "delete localProcessor", "server_stop", "bus_delete"}));
    EXPECT_EQ(trace(), Lines{"localAgent.exit (null)"});
}

TEST_F(Lifecycle, AnInstanceWithoutABusRefusesEverythingAndCanBeDeleted)
{
    initialise();
    spy::record()->areBusesRefused = true;
    beginSystem(R"({"vad":{},"recorder":{"mode":"external"}})");
    ASSERT_TRUE(handle);
    EXPECT_FALSE(instance()->bus);
    EXPECT_EQ(vantelFeedData(handle, "pcm", 3), -1);
    EXPECT_EQ(vantelStartDialog(handle), -1);
    end();
    EXPECT_EQ(spy::record()->lives, Lines{"bus_new"});
}

// As without memory: the bus has no node for one of the parts, or none of its topics.
TEST_F(Lifecycle, IsRefusedAsAWholeWhenAPartCannotJoinTheBus)
{
    initialise();
    for (const char *name : {"localAgent", "localProcessor", "localDms", "localVad"}) {
        for (bool isNode : {true, false}) {
            (isNode ? spy::record()->nodeRefused : spy::record()->topicsRefused) = name;
            spy::record()->lives.clear();
            forget();
            beginSystem(R"({"vad":{},"asr":{},"gram":{}})");
            spy::record()->nodeRefused.clear();
            spy::record()->topicsRefused.clear();
            EXPECT_FALSE(handle);
            EXPECT_EQ(scripted::liveHandles(), 0);
            EXPECT_EQ(logged("node " + std::string(name) + " cannot join the bus"), 1U);
            EXPECT_EQ(logged("could not be started"), 1U);
            // Whatever came on the bus, and whoever had a thread, is gone.
            const Lines lives = spy::record()->lives;
            auto count = [&lives](const std::string &what) {
                return std::count_if(lives.begin(), lives.end(), [&](const std::string &life) {
                    return life.starts_with(what);
                });
            };
            EXPECT_EQ(count("node_new "), count("delete "));
            EXPECT_EQ(count("bus_delete"), 1);
            EXPECT_EQ(logged("创建线程"), logged("线程正常退出"));
        }
    }
    beginSystem("{}");
    EXPECT_EQ(vantelStartDialog(handle), 0);
}

TEST_F(Lifecycle, AnInstanceIsNotDeletedFromInsideItsCallback)
{
    initialise();
    beginSystem("{}");
    int32_t result = 0;
    onEvent = [&](int32_t, const std::string &) { result = vantelDelete(handle); };
    vantelStartDialog(handle);
    settle();
    onEvent = nullptr;
    EXPECT_EQ(result, -1);
    EXPECT_GE(logged("[E]  vantel vantelDelete refused: called from inside the callback"), 1U);
    EXPECT_EQ(vantelStopDialog(handle), 0);
    settle();
    EXPECT_EQ(statuses(), (Lines{"listening", "silence"}));
}

// The natural way to shut down: the main thread deletes while the callback still asks for things.
TEST_F(Lifecycle, OperationsThatMeetTheDeletionAreRefused)
{
    initialise();
    beginSystem("{}");
    std::promise<void> entered;
    std::atomic<int> served{0};
    onEvent = [&](int32_t, const std::string &) {
        if (served > 0) return;
        entered.set_value();
        while (vantelSetContextSync(handle, "{}") == 0)
            ++served;
    };
    vantelStartDialog(handle);
    entered.get_future().wait();
    while (served == 0)
        std::this_thread::yield();
    EXPECT_EQ(vantelDelete(handle), 0);
    EXPECT_EQ(logged("vantelSetContextSync err by vantelDelete, which is under way"), 1U);
    handle = nullptr;
}

} // namespace
