#include "tests/ostrel/commands.h"
#include "tests/ostrel/recordings.h"

#include <gtest/gtest.h>

using namespace commands;

namespace
{

constexpr const char *kGrammarOnly = R"({"ngram":"none"})";
constexpr double kThreshold = 0.55;

class AsrTest : public testing::Test
{
protected:
    void SetUp() override { ASSERT_EQ(ostrel_library_load(R"({"logEnable":true,"level":2})"), 0); }
    void TearDown() override { ostrel_library_release(); }
};

TEST_F(AsrTest, CommandComesWithItsMeaningAndPartialsOnTheWay)
{
    ASSERT_EQ(compile(grammarText(kVehicle)), 0);
    Recogniser recogniser{kGrammarOnly};
    const cJSON *result = recogniser.recognise(recordings::load("goforward.raw"));
    EXPECT_EQ(rec(result), "go forward ten meters");
    EXPECT_EQ(eof(result), 1);
    EXPECT_GT(conf(result), kThreshold);
    EXPECT_EQ(sem(result), R"({"dm":{"command":{"api":"vehicle.move",)"
                           R"("param":{"to":"forward","meters":10}}}})");
    ASSERT_GE(recogniser.results.size(), 3U);
    for (size_t i = 0; i + 1 < recogniser.results.size(); ++i) {
        EXPECT_EQ(eof(recogniser.results[i].get()), 0);
        EXPECT_NE(rec(recogniser.results[i].get()), "");
    }
}

} // namespace
