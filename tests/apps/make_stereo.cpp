// make_stereo IN.raw OUT.wav: 16 kHz samples as a sound file of two channels at 44.1 kHz.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sndfile.h>
#include <vector>

int main(int argc, char **argv)
{
    if (argc != 3) return 1;
    std::ifstream file{argv[1], std::ios::binary};
    std::vector<char> bytes{std::istreambuf_iterator<char>{file}, {}};
    const int16_t *in = reinterpret_cast<const int16_t *>(bytes.data());
    const size_t count = bytes.size() / 2;

    std::vector<float> out;
    for (size_t frame = 0;; ++frame) {
        double at = static_cast<double>(frame) * 16000 / 44100;
        size_t left = static_cast<size_t>(at);
        if (left + 1 >= count) break;
        double share = at - std::floor(at);
        double value = in[left] * (1 - share) + in[left + 1] * share;
        out.insert(out.end(), 2, static_cast<float>(value / 32768));
    }
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE *sound = sf_open(argv[2], SFM_WRITE, &info);
    if (!sound) return 1;
    sf_writef_float(sound, out.data(), static_cast<sf_count_t>(out.size() / 2));
    return sf_close(sound);
}
