#include "tests/ostrel/recordings.h"

#include "tools/json.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <utility>

namespace recordings
{

std::string load(const std::string &name)
{
    constexpr size_t kWaveHeaderBytes = 44;
    std::ifstream file{RECORDINGS_FOLDER "/" + name, std::ios::binary};
    std::string audio{std::istreambuf_iterator<char>{file}, {}};
    EXPECT_FALSE(audio.empty()) << name << " of the speech test data is missing";
    return name.ends_with(".wav") ? audio.substr(kWaveHeaderBytes) : audio;
}

std::string silence(int milliseconds)
{
    return std::string(static_cast<size_t>(milliseconds) * 32, '\0');
}

std::string noise(int milliseconds, int amplitude)
{
    std::string audio = silence(milliseconds);
    uint32_t state = 1;
    for (size_t i = 0; i < audio.size(); i += 2) {
        state = state * 1664525U + 1013904223U;
        int sample = (static_cast<int>(state >> 16) - 32768) * amplitude / 32768;
        audio[i] = static_cast<char>(sample & 0xFF);
        audio[i + 1] = static_cast<char>(sample >> 8);
    }
    return audio;
}

Detector::Detector(const char *configuration)
    : handle_(ostrel_vad_new(configuration, onEvent, this))
{
}

Detector::~Detector()
{
    if (handle_) {
        EXPECT_EQ(ostrel_vad_delete(handle_), 0);
    }
}

void Detector::start(int pauseMs)
{
    std::string text = "{\"pauseTime\":" + std::to_string(pauseMs) + "}";
    ASSERT_EQ(ostrel_vad_start(handle_, text.c_str()), 0);
}

void Detector::feed(const std::string &audio, size_t chunkBytes)
{
    for (size_t at = 0; at < audio.size(); at += chunkBytes) {
        size_t bytes = std::min(chunkBytes, audio.size() - at);
        ASSERT_EQ(ostrel_vad_feed(handle_, audio.data() + at, static_cast<int32_t>(bytes)), 0);
    }
}

void Detector::stop()
{
    ASSERT_EQ(ostrel_vad_stop(handle_), 0);
}

Heard Detector::take()
{
    return std::exchange(heard_, {});
}

int32_t Detector::onEvent(void *user, int32_t kind, const void *data, int32_t length)
{
    Heard &heard = static_cast<Detector *>(user)->heard_;
    std::string bytes{static_cast<const char *>(data), static_cast<size_t>(length)};
    if (kind != 0) {
        heard.speech += bytes;
        return 0;
    }
    vantel::Json text = vantel::jsonParse(bytes.c_str());
    heard.statuses.push_back({vantel::jsonInt(text.get(), "status", -1),
                              vantel::jsonInt(text.get(), "offset", -1), heard.speech.size()});
    return 0;
}

} // namespace recordings
