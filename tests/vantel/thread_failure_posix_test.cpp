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
    const struct {
        std::string last; // part that has a thread
        int32_t started;
        Lines errors;
    } cases[] = {
        {"", -1, {}},
        {"localAgent", -1, {}},
        {"localProcessor", 0, {"-7399", "-7898"}},
        {"localDms", 0, {"-7399"}},
    };
    for (const auto &[last, started, errors] : cases) {
        forget();
        refuseThreads(last.empty());
        spy::record()->onNodeNew = [&last = last](const std::string &name) {
            if (name == last) refuseThreads(true);
        };
        beginSystem(R"({"vad":{},"asr":{},"gram":{}})");
        spy::record()->onNodeNew = nullptr;
        refuseThreads(false);
        ASSERT_TRUE(handle);
        EXPECT_GE(logged("[E]  vantel vad could not be started"), 1U);
        EXPECT_EQ(scripted::liveHandles(), last == "localDms" ? 1 : 0);

        // Each turn tells anew, and nothing waits for a part that is not there.
        for (int turn = 0; turn < 2; ++turn) {
            forget();
            EXPECT_EQ(vantelStartDialog(handle), started) << last;
            settle();
            Lines expected;
            for (const std::string &code : errors)
                expected.push_back("1006 {\"errId\":" + code);
            Lines told = traceOf("1006 ");
            for (std::string &line : told)
                line.resize(line.find(','));
            EXPECT_EQ(told, expected) << last;
            if (started == 0) {
                EXPECT_EQ(statuses().back(), "silence");
            }
        }
    }
}

} // namespace
