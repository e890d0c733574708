// Recordings as a microphone in a room would hear them: with noise, or with the room's echo.
#pragma once

#include "bench/samples.h"

#include <span>

namespace bench
{

constexpr int kSamplesPerMs = 16;

enum class Room { quiet, kitchen, pink, babble, music, reverb };

struct Condition {
    const char *name;
    Room room;
    double snr; // dB, of the speech while somebody speaks; without meaning where there is no noise
};

struct Clip {
    std::string file;
    std::string label; // what is said: words, or JSON
    Samples samples;
    double activePower = 0; // of the frames of 20 ms that are at most 25 dB below the loudest
    int endMs = 0;          // where the last of those ends
};

// A clip that measures itself.
Clip makeClip(const std::string &file, const std::string &label);

// What noise is taken from. Empty vectors: there is none of that kind.
struct Backgrounds {
    std::vector<Samples> kitchen;
    std::vector<Samples> music;
};

// Whether there is what the room needs; babble is others of `voices`.
bool hasSounds(const Backgrounds &backgrounds, std::span<const Clip> voices, Room room);

// The clip in a room that has its sounds, with a second behind it. No clip of `voices` may be
// silent. The same seed makes the same audio.
Samples inRoom(const Clip &clip, const Condition &condition, const Backgrounds &backgrounds,
               std::span<const Clip> voices, unsigned seed);

} // namespace bench
