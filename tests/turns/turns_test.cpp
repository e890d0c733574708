// Whole turns over the real engine: the same whatever the chunks of the audio, one behind the other
// in one dialog.
#include "include/vantel/vantel.h"
#include "tests/ostrel/spoken_commands.h"
#include "tests/support/folder.h"
#include "tests/turns/turn_host.h"

#include <cstring>
#include <tuple>

using namespace turns;
using Texts = std::vector<std::string>;

namespace
{

constexpr char kGoesOn[] = R"({"dm":{"shouldEndSession":false}})";
constexpr char kFullDuplexKeys[] = R"("fullDuplex":"true",)";

// The noise of the room in which the command was recorded.
std::string quiet(int milliseconds)
{
    const std::string room = recordings::load(recordings::kCommand).substr(0, 400 * 32);
    std::string audio;
    for (; milliseconds > 0; milliseconds -= 400)
        audio += room.substr(0, static_cast<size_t>(std::min(milliseconds, 400)) * 32);
    return audio;
}

// The same background everywhere, so that a ratio does not depend on how much of it was heard.
std::string inNoise(std::string audio)
{
    const std::string hiss = noise(static_cast<int32_t>(audio.size() / 2), 400);
    for (size_t at = 0; at + 1 < audio.size(); at += 2) {
        int16_t sample;
        int16_t added;
        std::memcpy(&sample, &audio[at], sizeof sample);
        std::memcpy(&added, &hiss[at], sizeof added);
        sample = static_cast<int16_t>(std::clamp(sample + added, -32768, 32767));
        std::memcpy(&audio[at], &sample, sizeof sample);
    }
    return audio;
}

// The library with its log, which tells what was refused.
struct Library : testing::Test {
    Library()
    {
        EXPECT_EQ(vantelInit((R"({"level":4,"logDirPath":")" + folder.path() + "\"}").c_str()), 0);
    }
    ~Library() override
    {
        EXPECT_EQ(folder.read("cache/log/vantel.log").find("offset inaccuracy"), std::string::npos);
        vantelRelease();
    }

    const Folder folder;
};

struct AnyChunk : Library, testing::WithParamInterface<std::tuple<const char *, bool>> {
    const std::string detector = std::get<0>(GetParam());
    const bool isFullDuplex = std::get<1>(GetParam());

    void SetUp() override
    {
        const bool isWebrtc = detector == "webrtc";
        if ((isWebrtc && !HAS_WEBRTC) || (!isWebrtc && !HAS_SILERO))
            GTEST_SKIP() << "this build could not get " << detector;
    }
    std::string params() const
    {
        return std::string{"{"} + (isFullDuplex ? kFullDuplexKeys : "") +
               R"("recorder":{"mode":"external"},"dmTimeOut":600000,"vad":{"pauseTime":500,)" +
               (isFullDuplex ? R"("fullMode":1,)" : "") + R"("engine":")" + detector + "\"}}";
    }
    // The ratio of each utterance of a dialog in which the buffers are emptied before anybody
    // speaks; in full duplex a second one follows.
    std::vector<double> measured(size_t chunkBytes) const
    {
        constexpr size_t kBeforeBytes = 2000 * 32;
        // Up to its last sound, so that nothing but the noise is background.
        const std::string command = recordings::load(recordings::kCommand).substr(0, 2400 * 32);
        std::string audio = quiet(2000) + command + quiet(isFullDuplex ? 9000 : 4800);
        if (isFullDuplex) audio += command + quiet(4800);
        audio = inNoise(audio);
        Host host{params(), isFullDuplex ? kGoesOn : ""};
        host.startDialog();
        host.feed(audio.substr(0, kBeforeBytes), chunkBytes);
        host.advance(10000);
        host.feed(audio.substr(kBeforeBytes), chunkBytes);
        EXPECT_EQ(host.told(kDetected).size(), isFullDuplex ? 4U : 2U);
        EXPECT_EQ(host.told(kError), Texts{});
        return ratios(host);
    }
};

INSTANTIATE_TEST_SUITE_P(Turns, AnyChunk,
                         testing::Combine(testing::Values("silero", "webrtc"), testing::Bool()),
                         [](const auto &given) {
                             return std::get<0>(given.param) + std::string(std::get<1>(given.param)
                                                                               ? "FullDuplex"
                                                                               : "HalfDuplex");
                         });

TEST_P(AnyChunk, GivesTheRatioOfTenMilliseconds)
{
    const std::vector<double> expected = measured(320);
    ASSERT_EQ(expected.size(), isFullDuplex ? 2U : 1U);
    for (size_t chunkBytes :
         std::initializer_list<size_t>{32, 333, 640, 3200, 12801, 31999, 64000}) {
        SCOPED_TRACE(chunkBytes);
        const std::vector<double> seen = measured(chunkBytes);
        ASSERT_EQ(seen.size(), expected.size()) << chunkBytes;
        for (size_t i = 0; i < seen.size(); ++i)
            EXPECT_NEAR(seen[i], expected[i], 0.2) << chunkBytes;
    }
}

constexpr char kCommands[] = R"(#JSGF V1.0;
grammar four;
public <command> = (<move> | <rank> of <suit> | <rank> <rank>) {"dm":{"shouldEndSession":"false"}};
<move> = go forward ten meters;
<suit> = clubs | hearts | diamonds | spades;
<rank> = ace | two | three | four | five | six | seven | eight | nine | ten | jack | queen | king;
)";

struct FourCommands : Library, testing::WithParamInterface<bool> {
};

INSTANTIATE_TEST_SUITE_P(Turns, FourCommands, testing::Bool(), [](const auto &given) {
    return given.param ? "FullDuplex" : "HalfDuplex";
});

TEST_P(FourCommands, OfOneDialogAreEachDetectedMeasuredAndUnderstood)
{
    const std::string duplex = GetParam() ? kFullDuplexKeys : "";
    Host host{"{" + duplex + R"("recorder":{"mode":"external"},"dmTimeOut":600000,)" +
              R"("vad":{"pauseTime":500,"fullMode":1},"asr":{"ngram":"none"},)" +
              R"("oneshot":{"enable":"true","timeout":600000},"gram":)" +
              commands::grammarText(kCommands) + "}"};
    const std::pair<const char *, const char *> spoken[] = {
        {recordings::kCommand, "go forward ten meters"},
        {"cards/001.wav", "ten of clubs"},
        {"cards/003.wav", "seven of clubs"},
        {"cards/004.wav", "five five"}};
    host.feed(quiet(1200), 3200);
    host.publish("sys.localWakeup.result", R"({"type":"major"})");
    Texts texts;
    Texts statuses;
    for (const auto &[recording, text] : spoken) {
        host.feed(quiet(400) + recordings::load(recording) + quiet(1200), 3200);
        texts.push_back(text);
        statuses.insert(statuses.end(), {"1", "2"});
    }
    Texts understood;
    for (const std::string &result : host.told(kRecognised)) {
        const vantel::Json parsed = vantel::jsonParse(result.c_str());
        if (vantel::jsonInt(parsed.get(), "eof", 0) == 1)
            understood.push_back(vantel::jsonString(parsed.get(), "text"));
    }
    Texts detected;
    for (const std::string &status : host.told(kDetected))
        detected.push_back(status.substr(std::string(R"({"status":)").size(), 1));
    EXPECT_EQ(understood, texts);
    EXPECT_EQ(detected, statuses);
    EXPECT_EQ(ratios(host).size(), texts.size());
    EXPECT_EQ(host.told(kReplied).size(), texts.size());
    EXPECT_EQ(host.told(kError), Texts{});
    EXPECT_EQ(host.told(kStatus).back(), R"({"status":"listening"})") << "one dialog, still open";
}

// A host that has a whole recording feeds it at once, and says then that this was all.
TEST_F(Library, AnUtteranceOfOneChunkIsHeardAtTheHostsStop)
{
    Host host{std::string{R"({"recorder":{"mode":"external"},"vad":{},"asr":{"ngram":"none"},)"} +
              R"("gram":)" + commands::grammarText(kCommands) + "}"};
    const std::string audio = recordings::load(recordings::kCommand) + quiet(800);
    host.startListening();
    host.feed(audio, audio.size());
    EXPECT_EQ(host.told(kDetected), Texts{});
    host.stopListening();
    EXPECT_EQ(host.told(kDetected).size(), 2U);
    EXPECT_EQ(ratios(host).size(), 1U);
    ASSERT_FALSE(host.told(kRecognised).empty());
    EXPECT_NE(host.told(kRecognised).back().find(R"("text":"go forward ten meters","eof":1)"),
              std::string::npos);
    EXPECT_EQ(host.told(kReplied), Texts{});
    EXPECT_EQ(host.told(kError), Texts{});
    EXPECT_EQ(host.told(kStatus).back(), R"({"status":"silence"})");
}

} // namespace
