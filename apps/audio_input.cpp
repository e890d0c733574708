// Audio from standard input as it comes: a sound file's length is not known, and nothing goes back.
#include "apps/audio_convert.h"

#include "platform/console.h"
#include "platform/platform.h"

#include <algorithm>
#include <cstring>
#include <samplerate.h>
#include <string_view>

namespace vantel::app
{
namespace
{

// Standard input as a file that can be gone over again as long as its header is read.
class Bytes
{
public:
    // How many bytes of the next `count` are there, at most all of them; waits for them.
    size_t ahead(size_t count)
    {
        while (kept_.size() < offset_ + count) {
            char block[4096];
            const size_t bytes =
                platformReadInput(block, std::min(sizeof block, offset_ + count - kept_.size()));
            if (bytes == 0) break;
            kept_.append(block, bytes);
        }
        return kept_.size() - std::min(kept_.size(), offset_);
    }
    std::string_view look() const { return std::string_view{kept_}.substr(offset_); }

    size_t read(void *out, size_t count)
    {
        // Behind this much a header is looking for what comes after its audio.
        constexpr size_t kLongestHeader = 1 << 20;
        if (isHeader_ && offset_ > kLongestHeader) return 0;
        const size_t bytes = std::min(ahead(count), count);
        if (bytes > 0) std::memcpy(out, kept_.data() + offset_, bytes);
        offset_ += bytes;
        if (!isHeader_) {
            kept_.erase(0, offset_);
            begin_ += static_cast<int64_t>(offset_);
            offset_ = 0;
        }
        return bytes;
    }
    int64_t seek(int64_t offset, int whence)
    {
        if (whence == SEEK_CUR) offset += tell();
        if (whence == SEEK_END) offset += kLength;
        if (offset >= begin_) offset_ = static_cast<size_t>(offset - begin_);
        return tell();
    }
    int64_t tell() const { return begin_ + static_cast<int64_t>(offset_); }
    void endHeader() { isHeader_ = false; }

    static constexpr int64_t kLength = int64_t{1} << 48; // as good as endless

private:
    std::string kept_;  // from begin_ on
    int64_t begin_ = 0; // position of what is kept
    size_t offset_ = 0; // of the next byte in what is kept, or behind it
    bool isHeader_ = true;
};

Bytes *bytesOf(void *user)
{
    return static_cast<Bytes *>(user);
}

SF_VIRTUAL_IO bytesAsFile()
{
    return {[](void *) { return static_cast<sf_count_t>(Bytes::kLength); },
            [](sf_count_t offset, int whence, void *user) {
                return static_cast<sf_count_t>(bytesOf(user)->seek(offset, whence));
            },
            [](void *out, sf_count_t count, void *user) {
                return static_cast<sf_count_t>(
                    bytesOf(user)->read(out, static_cast<size_t>(count)));
            },
            [](const void *, sf_count_t, void *) { return static_cast<sf_count_t>(0); },
            [](void *user) { return static_cast<sf_count_t>(bytesOf(user)->tell()); }};
}

struct DeleteConverter {
    void operator()(SRC_STATE *converter) const { src_delete(converter); }
};

class InputSource : public AudioSource
{
public:
    bool open(std::string *error)
    {
        constexpr size_t kMark = 4;
        if (platformIsTerminal(stdin)) {
            *error = "standard input is a terminal: send audio to it";
        } else if (bytes_.ahead(kMark) == 0) {
            *error = platformInterrupted() ? "interrupted" : "standard input is empty";
        } else if (const std::string_view mark = bytes_.look().substr(0, kMark);
                   mark == "RIFF" || mark == "RIFX" || mark == "RF64") {
            openWave(error);
        } else if (mark == "fLaC" || mark == "OggS" || mark == "FORM" || mark == ".snd" ||
                   mark.starts_with("ID3")) {
            *error = "standard input: WAV or raw 16 kHz samples; other sound files by their name";
        } else {
            info_ = {0, kSampleRate, 1, SF_FORMAT_RAW | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, 0, 0};
            openSound(error);
        }
        return error->empty();
    }

    std::vector<int16_t> read() override
    {
        while (ready_.size() < kChunkSamples && !hasEnded_)
            readMore();
        const size_t count = std::min<size_t>(ready_.size(), kChunkSamples);
        std::vector<int16_t> chunk =
            toSamples({ready_.begin(), ready_.begin() + static_cast<ptrdiff_t>(count)});
        ready_.erase(ready_.begin(), ready_.begin() + static_cast<ptrdiff_t>(count));
        return chunk;
    }
    double seconds() const override { return 0; }
    bool isLive() const override { return false; }
    bool isPaced() const override { return true; }

private:
    void openSound(std::string *error)
    {
        SF_VIRTUAL_IO io = bytesAsFile();
        sound_.reset(sf_open_virtual(&io, SFM_READ, &info_, &bytes_));
        if (!sound_) *error = std::string{"standard input: "} + sf_strerror(nullptr);
        bytes_.endHeader();
    }

    void openWave(std::string *error)
    {
        openSound(error);
        if (sound_ && info_.frames == 0) *error = "standard input: a WAV file without audio";
        if (!error->empty() || info_.samplerate == kSampleRate) return;
        int failure = 0;
        converter_.reset(src_new(SRC_SINC_MEDIUM_QUALITY, 1, &failure));
        if (!converter_) *error = src_strerror(failure);
    }

    // Ten milliseconds.
    void readMore()
    {
        const size_t frames = static_cast<size_t>(std::max(info_.samplerate / 100, 1));
        std::vector<float> mono;
        hasEnded_ = !appendMono(sound_.get(), info_.channels, frames, &mono);
        if (!converter_) {
            ready_.insert(ready_.end(), mono.begin(), mono.end());
            return;
        }
        const double ratio = static_cast<double>(kSampleRate) / info_.samplerate;
        // At the end comes what the converter has kept back.
        std::vector<float> out(static_cast<size_t>(static_cast<double>(frames) * ratio) +
                               kSampleRate);
        SRC_DATA data{};
        data.data_in = mono.data();
        data.input_frames = static_cast<long>(mono.size());
        data.data_out = out.data();
        data.output_frames = static_cast<long>(out.size());
        data.src_ratio = ratio;
        data.end_of_input = hasEnded_ ? 1 : 0;
        if (src_process(converter_.get(), &data) != 0) hasEnded_ = true;
        ready_.insert(ready_.end(), out.begin(), out.begin() + data.output_frames_gen);
    }

    Bytes bytes_;
    SF_INFO info_{};
    Sound sound_;
    std::unique_ptr<SRC_STATE, DeleteConverter> converter_; // null: the rate is right
    std::vector<float> ready_;                              // converted, not given out
    bool hasEnded_ = false;
};

} // namespace

std::unique_ptr<AudioSource> openAudioInput(std::string *error)
{
    auto input = std::make_unique<InputSource>();
    if (!input->open(error)) return nullptr;
    return input;
}

} // namespace vantel::app
