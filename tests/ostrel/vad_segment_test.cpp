// Frames to utterances, over figures in place of a detector.
#include "ostrel/vad_segment.h"

#include <gtest/gtest.h>
#include <vector>

using namespace vantel::ostrel;

namespace
{

struct Event {
    SpeechEvent kind;
    int64_t offset;
    int64_t decidedAt;
    bool operator==(const Event &) const = default;
};

void PrintTo(const Event &event, std::ostream *out)
{
    *out << (event.kind == SpeechEvent::begin ? "begin " : "end ") << event.offset << " at "
         << event.decidedAt;
}

using Events = std::vector<Event>;

// Frames of 10 ms, two of three begin speech, a margin of one frame, a pause of three.
class Frames : public testing::Test
{
protected:
    static constexpr int64_t kFrame = 320;

    Frames()
    {
        segmenter.settings = {.onThreshold = 0.5,
                              .offThreshold = 0.3,
                              .onsetFrames = 2,
                              .onsetWindow = 3,
                              .beginMarginMs = 10,
                              .maxSpeechMs = 0};
        segmenter.frameBytes = kFrame;
        segmenter.pauseBytes = 3 * kFrame;
    }

    // One letter a frame: '#' speech, '~' carries speech on but does not begin it, '.' silence.
    Events take(const char *frames)
    {
        Events events;
        for (; *frames; ++frames) {
            double probability = *frames == '#' ? 0.5 : *frames == '~' ? 0.3 : 0.2;
            int64_t offset = -1;
            SpeechEvent kind = segmenterTake(&segmenter, probability, &offset);
            if (kind != SpeechEvent::none)
                events.push_back({kind, offset / kFrame, segmenter.position / kFrame});
        }
        return events;
    }

    Segmenter segmenter;
};

TEST_F(Frames, SpeechBeginsAMarginBeforeTheFirstFrameOfItsOnset)
{
    EXPECT_EQ(take(".....##"), (Events{{SpeechEvent::begin, 4, 7}}));
    segmenterReset(&segmenter);
    EXPECT_EQ(take(".....#.#"), (Events{{SpeechEvent::begin, 4, 8}}));
    segmenterReset(&segmenter);
    EXPECT_EQ(take("##"), (Events{{SpeechEvent::begin, 0, 2}})) << "not before the audio";
    segmenterReset(&segmenter);
    EXPECT_EQ(take("..#..#..#~#"), (Events{{SpeechEvent::begin, 7, 11}}));
}

TEST_F(Frames, SpeechEndsWhereThePauseAfterItsLastFrameEnds)
{
    EXPECT_EQ(take("##.~..~...."),
              (Events{{SpeechEvent::begin, 0, 2}, {SpeechEvent::end, 10, 10}}));
    segmenterReset(&segmenter);
    segmenter.pauseBytes = 3 * kFrame - 2; // no whole number of frames
    Segmenter copy = segmenter;
    EXPECT_EQ(take("##..."), (Events{{SpeechEvent::begin, 0, 2}, {SpeechEvent::end, 4, 5}}));
    EXPECT_EQ(segmenter.lastBoundary, 5 * kFrame - 2);
    segmenter = copy;
    segmenter.pauseBytes = 0;
    EXPECT_EQ(take("##.."), (Events{{SpeechEvent::begin, 0, 2}, {SpeechEvent::end, 2, 3}}));
}

TEST_F(Frames, NextUtteranceNeedsAnOnsetOfItsOwnAndDoesNotReachIntoTheLast)
{
    EXPECT_EQ(take("##...#.....##").size(), 3U);
    segmenterReset(&segmenter);
    segmenter.settings.beginMarginMs = 100;
    Events events = take("##...##");
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[2], (Event{SpeechEvent::begin, events[1].offset, 7}));
}

TEST_F(Frames, UtteranceOfTheGreatestLengthIsCut)
{
    segmenter.settings.maxSpeechMs = 50;
    EXPECT_EQ(take("##########"), (Events{{SpeechEvent::begin, 0, 2},
                                          {SpeechEvent::end, 5, 5},
                                          {SpeechEvent::begin, 5, 7},
                                          {SpeechEvent::end, 10, 10}}));
}

} // namespace
