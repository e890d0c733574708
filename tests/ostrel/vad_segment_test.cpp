// Frames to utterances, over figures in place of a detector.
#include "ostrel/vad/vad_segment.h"

#include <gtest/gtest.h>
#include <sstream>

using namespace vantel::ostrel;

namespace
{

// Frames of 10 ms, two of three begin speech.
struct Case {
    const char *frames; // '#' speech, '~' carries speech on but does not begin it, '.' silence
    std::string events; // "begin 40 at 70": of which offset it was said, and when, in milliseconds
    int pauseMs = 30;
    int marginMs = 10;
    int longestMs = 0;
    int endLeadMs = 0;
};

std::string take(Segmenter *segmenter, const char *frames)
{
    std::ostringstream events;
    for (; *frames; ++frames) {
        double probability = *frames == '#' ? 0.5 : *frames == '~' ? 0.3 : 0.2;
        int64_t offset = -1;
        SpeechEvent kind = segmenterTake(segmenter, probability, &offset);
        if (kind == SpeechEvent::none) continue;
        events << (events.tellp() > 0 ? ", " : "")
               << (kind == SpeechEvent::begin ? "begin " : "end ") << offset / kBytesPerMs << " at "
               << segmenter->position / kBytesPerMs;
    }
    return events.str();
}

void expectEvents(const std::vector<Case> &cases)
{
    for (const Case &given : cases) {
        Segmenter segmenter{.settings = {.onThreshold = 0.5,
                                         .offThreshold = 0.3,
                                         .onsetFrames = 2,
                                         .onsetWindow = 3,
                                         .beginMarginMs = given.marginMs,
                                         .maxSpeechMs = given.longestMs,
                                         .endLeadMs = given.endLeadMs},
                            .frameBytes = 10 * kBytesPerMs,
                            .pauseBytes = given.pauseMs * kBytesPerMs};
        EXPECT_EQ(take(&segmenter, given.frames), given.events);
        segmenterReset(&segmenter);
        EXPECT_EQ(take(&segmenter, given.frames), given.events) << "after a reset";
    }
}

TEST(Frames, SpeechBeginsAMarginBeforeTheFirstFrameOfItsOnset)
{
    expectEvents({{".....##", "begin 40 at 70"},
                  {".....#.#", "begin 40 at 80"},
                  {"..#..#..#~#", "begin 70 at 110"},
                  {"##", "begin 0 at 20"}}); // not before the audio
}

TEST(Frames, SpeechEndsWhereThePauseAfterItsLastFrameEnds)
{
    expectEvents({{"##.~..~....", "begin 0 at 20, end 100 at 100"},
                  {"##...", "begin 0 at 20, end 45 at 50", 25},
                  {"##..", "begin 0 at 20, end 20 at 30", 0},
                  {"##....", "begin 0 at 20, end 45 at 60", 35, 10, 0, 15}, // a lead ahead
                  {"##...", "begin 0 at 20, end 40 at 50", 30, 10, 0, 10}});
}

TEST(Frames, NextUtteranceNeedsAnOnsetOfItsOwnAndDoesNotReachIntoTheLast)
{
    expectEvents({{"##...#.....##", "begin 0 at 20, end 50 at 50, begin 100 at 130"},
                  {"##...##", "begin 0 at 20, end 50 at 50, begin 50 at 70", 30, 100}});
}

TEST(Frames, UtteranceOfTheGreatestLengthIsCut)
{
    expectEvents({{"##########", "begin 0 at 20, end 50 at 50, begin 50 at 70, end 100 at 100", 30,
                   10, 50}});
}

} // namespace
