#include "include/vantel/vantel.h"
#include "src/node/instance.h"
#include "tests/support/bench.h"

#include <pthread.h>

namespace
{

// Makes every later thread fail, because no stack of this size can be had.
void refuseThreads(bool isRefusing)
{
    static const size_t usual = [] {
        size_t size = 0;
        pthread_attr_t attributes;
        pthread_getattr_default_np(&attributes);
        pthread_attr_getstacksize(&attributes, &size);
        return size;
    }();
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, isRefusing ? size_t{1} << 46 : usual);
    pthread_setattr_default_np(&attributes);
    pthread_attr_destroy(&attributes);
}

using ThreadFailure = Bench;

TEST_F(ThreadFailure, LeavesTheSlotEmptyAndTheInstanceGoesOn)
{
    initialise();
    spy::record()->onNodeNew = [](const std::string &name) {
        if (name == "localAgent") refuseThreads(true);
    };
    beginSystem(R"({"vad":{},"asr":{},"gram":{}})");
    refuseThreads(false);

    vantel::NodeTable *nodes = static_cast<vantel::Instance *>(handle)->nodes;
    EXPECT_TRUE(nodes->server && nodes->agent);
    EXPECT_FALSE(nodes->processor || nodes->dms || nodes->vad);
    EXPECT_EQ(scripted::liveHandles(), 0);
    EXPECT_EQ(logged("[I]  ZQ-thread 创建线程， handle: 0, name: sbcp_"), 3U);
    EXPECT_EQ(vantelStartDialog(handle), 0);

    refuseThreads(true);
    void *other = vantelNew("{}", nullptr, nullptr);
    refuseThreads(false);
    ASSERT_TRUE(other);
    EXPECT_EQ(vantelStartDialog(other), -1);
    EXPECT_EQ(vantelDelete(other), 0);
}

} // namespace
