#include "apps/audio_convert.h"

#include "platform/platform.h"

#include <algorithm>
#include <cmath>
#include <samplerate.h>

namespace vantel::app
{
namespace
{

struct CloseFile {
    void operator()(std::FILE *file) const { std::fclose(file); }
};

// Reading through our own file keeps UTF-8 paths working on every system.
sf_count_t fileBytes(void *user)
{
    std::FILE *file = static_cast<std::FILE *>(user);
    long at = std::ftell(file);
    std::fseek(file, 0, SEEK_END);
    long end = std::ftell(file);
    std::fseek(file, at, SEEK_SET);
    return end;
}

sf_count_t fileSeek(sf_count_t offset, int whence, void *user)
{
    std::FILE *file = static_cast<std::FILE *>(user);
    std::fseek(file, static_cast<long>(offset), whence);
    return std::ftell(file);
}

sf_count_t fileRead(void *out, sf_count_t count, void *user)
{
    return static_cast<sf_count_t>(
        std::fread(out, 1, static_cast<size_t>(count), static_cast<std::FILE *>(user)));
}

sf_count_t fileWrite(const void *, sf_count_t, void *)
{
    return 0;
}

sf_count_t fileTell(void *user)
{
    return std::ftell(static_cast<std::FILE *>(user));
}

bool isRaw(const std::string &path)
{
    return path.ends_with(".raw") || path.ends_with(".pcm");
}

std::vector<float> resampled(std::vector<float> in, int rate, std::string *error)
{
    if (rate == kSampleRate || in.empty()) return in;
    const double ratio = static_cast<double>(kSampleRate) / rate;
    std::vector<float> out(static_cast<size_t>(std::ceil(static_cast<double>(in.size()) * ratio)) +
                           16);
    SRC_DATA data{};
    data.data_in = in.data();
    data.input_frames = static_cast<long>(in.size());
    data.data_out = out.data();
    data.output_frames = static_cast<long>(out.size());
    data.src_ratio = ratio;
    if (int failure = src_simple(&data, SRC_SINC_MEDIUM_QUALITY, 1); failure != 0) {
        *error = src_strerror(failure);
        return {};
    }
    out.resize(static_cast<size_t>(data.output_frames_gen));
    return out;
}

class SampleSource : public AudioSource
{
public:
    explicit SampleSource(std::vector<int16_t> samples) : samples_(std::move(samples)) {}

    std::vector<int16_t> read() override
    {
        size_t end = std::min(at_ + kChunkSamples, samples_.size());
        std::vector<int16_t> chunk(samples_.begin() + static_cast<ptrdiff_t>(at_),
                                   samples_.begin() + static_cast<ptrdiff_t>(end));
        at_ = end;
        return chunk;
    }
    double seconds() const override { return static_cast<double>(samples_.size()) / kSampleRate; }
    bool isLive() const override { return false; }
    bool isPaced() const override { return false; }

private:
    std::vector<int16_t> samples_;
    size_t at_ = 0;
};

} // namespace

std::unique_ptr<AudioSource> openAudioFile(const std::string &path, std::string *error)
{
    std::unique_ptr<std::FILE, CloseFile> file{platformOpenFile(path.c_str(), "rb")};
    if (!file) {
        *error = path + ": cannot be opened";
        return nullptr;
    }
    // A folder can be opened, but not read.
    if (std::fgetc(file.get()) == EOF) {
        *error = path + (std::ferror(file.get()) != 0 ? ": cannot be read" : ": is empty");
        return nullptr;
    }
    std::rewind(file.get());
    SF_INFO info{};
    if (isRaw(path)) {
        info.format = SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE;
        info.samplerate = kSampleRate;
        info.channels = 1;
    }
    SF_VIRTUAL_IO io{fileBytes, fileSeek, fileRead, fileWrite, fileTell};
    Sound sound{sf_open_virtual(&io, SFM_READ, &info, file.get())};
    if (!sound) {
        *error = path + ": no sound file that can be read (" + sf_strerror(nullptr) + ")";
        return nullptr;
    }
    constexpr size_t kBlock = 4096;
    std::vector<float> mono;
    while (appendMono(sound.get(), info.channels, kBlock, &mono)) {
    }
    std::string reason;
    std::vector<float> audio = resampled(std::move(mono), info.samplerate, &reason);
    if (audio.empty()) {
        *error = path + ": " + (reason.empty() ? "holds no audio" : reason);
        return nullptr;
    }
    return std::make_unique<SampleSource>(toSamples(audio));
}

} // namespace vantel::app
