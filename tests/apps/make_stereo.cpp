// make_stereo IN.raw OUT.wav: 16 kHz samples as a sound file of two channels at 44.1 kHz.
#include <cstdint>
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
    const size_t frames = bytes.size() / 2 * 441 / 160;

    std::vector<int16_t> out;
    for (size_t frame = 0; frame < frames; ++frame)
        out.insert(out.end(), 2, in[frame * 160 / 441]);
    SF_INFO info{};
    info.samplerate = 44100;
    info.channels = 2;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE *sound = sf_open(argv[2], SFM_WRITE, &info);
    if (!sound) return 1;
    sf_writef_short(sound, out.data(), static_cast<sf_count_t>(frames));
    return sf_close(sound);
}
