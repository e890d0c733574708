#include "apps/audio_source.h"

#include "platform/platform.h"

#include <portaudio.h>

namespace vantel::app
{
namespace
{

// PortAudio is counted: every initialisation has its termination.
class Library
{
public:
    Library()
    {
        // The sound systems below write pages about devices that are not there.
        int32_t muted = platformMuteErrors();
        failure_ = Pa_Initialize();
        platformRestoreErrors(muted);
    }
    ~Library()
    {
        if (failure_ == paNoError) Pa_Terminate();
    }
    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;
    PaError failure() const { return failure_; }

private:
    PaError failure_;
};

class Microphone : public AudioSource
{
public:
    Microphone() = default;
    ~Microphone() override
    {
        if (stream_) Pa_CloseStream(stream_);
    }

    bool open(int device, std::string *error)
    {
        PaError failure = library_.failure();
        PaDeviceIndex index = paNoDevice;
        if (failure == paNoError) index = device >= 0 ? device : Pa_GetDefaultInputDevice();
        const PaDeviceInfo *info = index == paNoDevice ? nullptr : Pa_GetDeviceInfo(index);
        if (failure == paNoError && (!info || info->maxInputChannels < 1)) {
            *error = device >= 0 ? "device " + std::to_string(device) + " is no microphone"
                                 : "no microphone found; vantel run FILE hears a recording";
            return false;
        }
        if (failure == paNoError) {
            PaStreamParameters input{index, 1, paInt16, info->defaultLowInputLatency, nullptr};
            failure = Pa_OpenStream(&stream_, &input, nullptr, kSampleRate, kChunkSamples, paNoFlag,
                                    nullptr, nullptr);
        }
        if (failure == paNoError) failure = Pa_StartStream(stream_);
        if (failure != paNoError) *error = std::string("microphone: ") + Pa_GetErrorText(failure);
        return failure == paNoError;
    }

    std::vector<int16_t> read() override
    {
        std::vector<int16_t> chunk(kChunkSamples);
        PaError result = Pa_ReadStream(stream_, chunk.data(), kChunkSamples);
        // Samples lost to a slow reader do not end the input.
        if (result != paNoError && result != paInputOverflowed) chunk.clear();
        return chunk;
    }
    double seconds() const override { return 0; }
    bool isLive() const override { return true; }
    bool isPaced() const override { return true; }

private:
    Library library_;
    PaStream *stream_ = nullptr;
};

} // namespace

std::unique_ptr<AudioSource> openMicrophone(int device, std::string *error)
{
    auto microphone = std::make_unique<Microphone>();
    if (!microphone->open(device, error)) return nullptr;
    return microphone;
}

std::vector<std::string> microphoneNames(std::string *error)
{
    Library library;
    std::vector<std::string> names;
    if (library.failure() != paNoError) {
        *error = Pa_GetErrorText(library.failure());
        return names;
    }
    for (PaDeviceIndex i = 0; i < Pa_GetDeviceCount(); ++i) {
        const PaDeviceInfo *info = Pa_GetDeviceInfo(i);
        if (!info || info->maxInputChannels < 1) continue;
        std::string mark = i == Pa_GetDefaultInputDevice() ? " (default)" : "";
        names.push_back(std::to_string(i) + "  " + info->name + mark);
    }
    if (names.empty()) *error = "no microphone found";
    return names;
}

} // namespace vantel::app
