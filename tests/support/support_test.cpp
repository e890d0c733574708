// The harness itself: a program meets the scripted engine, and settle() sees what it must.
#include "tests/support/scripted_engine.h"

#include "contracts/ostrel.h"

#include <gtest/gtest.h>

namespace
{

int32_t collect(void *user, int32_t kind, const void *data, int32_t length)
{
    auto *seen = static_cast<std::vector<std::string> *>(user);
    seen->push_back(std::to_string(kind) + ":" +
                    std::string(static_cast<const char *>(data), static_cast<size_t>(length)));
    return 0;
}

TEST(ScriptedEngine, DeliversQueuedCallbacksAtTheirMomentWhateverTheChunks)
{
    using namespace scripted;
    for (int32_t chunk : {1, 7, 100}) {
        reset();
        std::vector<std::string> seen;
        void *vad = ostrel_vad_new("{}", collect, &seen);
        emit(Part::vad, Moment::feed, 0, "begin", 20);
        emit(Part::vad, Moment::feed, 1, "pcm", 20);
        emit(Part::vad, Moment::stop, 0, "end");
        ostrel_vad_start(vad, nullptr);
        const char silence[100] = {};
        for (int32_t fed = 0; fed < 100; fed += chunk)
            ostrel_vad_feed(vad, silence, std::min(chunk, 100 - fed));
        EXPECT_EQ(seen, (std::vector<std::string>{"0:begin", "1:pcm"}));
        ostrel_vad_stop(vad);
        EXPECT_EQ(seen.back(), "0:end");
        ostrel_vad_delete(vad);
        EXPECT_EQ(liveHandles(), 0);
    }
}

} // namespace
