// Where the tool's audio comes from: 16 kHz mono samples, one chunk at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantel::app
{

constexpr int kSampleRate = 16000;
// 10 ms: with chunks of up to 20 ms the begin and the end of speech are told at once.
constexpr int kChunkSamples = kSampleRate / 100;

class AudioSource
{
public:
    virtual ~AudioSource() = default;
    // Up to kChunkSamples samples; none at the end of the input.
    virtual std::vector<int16_t> read() = 0;
    // Seconds in all; 0 when there is no end to know.
    virtual double seconds() const = 0;
    // Whether it goes on until the user ends it.
    virtual bool isLive() const = 0;
    // Whether the samples come at a pace of their own, so that reading waits for them.
    virtual bool isPaced() const = 0;
};

// A sound file of any rate and channel count, or raw 16 kHz samples (names that end in .raw or
// .pcm). Null, and why, when it cannot be read.
std::unique_ptr<AudioSource> openAudioFile(const std::string &path, std::string *error);

// Standard input: a WAV file of any rate and channel count, or raw 16 kHz samples, taken as they
// come.
std::unique_ptr<AudioSource> openAudioInput(std::string *error);

// The microphone `device`, or the system's default for -1.
std::unique_ptr<AudioSource> openMicrophone(int device, std::string *error);

// A line for each input device; or why there is none.
std::vector<std::string> microphoneNames(std::string *error);

} // namespace vantel::app
