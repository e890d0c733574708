// What the recogniser says of recorded people. The values are those of the Linux build; every other
// system has to say the same.
#include "tests/ostrel/spoken_commands.h"

#include <ostream>

using namespace commands;

namespace
{

struct Spoken {
    const char *recording;
    const char *grammar;
    const char *command; // by the grammar; null: something that the grammar does not have
    double streaming;    // the confidences of the two recognisers
    double fsg;
    const char *text; // as free speech
};

void PrintTo(const Spoken &spoken, std::ostream *out)
{
    *out << spoken.recording;
}

const Spoken kSpoken[] = {
    {"goforward.raw", kVehicle, "go forward ten meters", 1, 0.9997, "go forward ten meters"},
    {"numbers.raw", kVehicle, nullptr, 0.5, 0, "thirty three four six ninety two"},
    {"something.raw", kVehicle, nullptr, 0.5, 0, "go somewhere and do something"},
    {"cards/001.wav", kCards, "ten of clubs", 1, 0.9944, "ten of clubs"},
    {"cards/003.wav", kCards, "seven of clubs", 1, 0.9939, "seven of clubs"},
    {"cards/004.wav", kCards, "five five", 1, 0.9979, "five five"},
    {"cards/005.wav", kCards, "eight of spades four of clubs seven of hearts", 1, 0.9846,
     "eight of spades four of cloves seven of hearts"},
    {"librivox/sense_and_sensibility_01_austen_64kb-0870.wav", kCards, nullptr, 0, 0,
     "and mr john dashwood had then leisure to consider how much there might be prudently in his "
     "power to do for them"},
    {"librivox/sense_and_sensibility_01_austen_64kb-0880.wav", kCards, nullptr, 0, 0,
     "he was not an ill sposed young man"},
};

struct RecordedPeople : recordings::LoadedEngine, testing::WithParamInterface<Spoken> {
};

INSTANTIATE_TEST_SUITE_P(All, RecordedPeople, testing::ValuesIn(kSpoken));

TEST_P(RecordedPeople, AreUnderstoodAlikeOnEverySystem)
{
    ASSERT_EQ(compile(grammarText(GetParam().grammar)), 0);
    for (const char *engine : {"streaming", "fsg"}) {
        const bool isStreaming = engine == std::string{"streaming"};
        if (isStreaming && !HAS_STREAMING) continue;
        SCOPED_TRACE(engine);
        Recogniser recogniser{std::string{"{\"engine\":\""} + engine + "\"}"};
        const cJSON *result = recogniser.recognise(recordings::load(GetParam().recording));
        if (GetParam().command) {
            EXPECT_EQ(rec(result), GetParam().command);
        }
        EXPECT_NEAR(conf(result), isStreaming ? GetParam().streaming : GetParam().fsg, 0.02);
        // The streaming recogniser asks for free speech when it has not understood.
        if (HAS_MOONSHINE) {
            EXPECT_EQ(rec(result, "ngram"),
                      isStreaming && GetParam().command ? "" : GetParam().text);
        }
    }
}

} // namespace
