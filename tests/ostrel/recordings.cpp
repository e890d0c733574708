#include "tests/ostrel/recordings.h"

#include "tests/support/pcm.h"
#include "tools/read_file.h"

namespace recordings
{

std::string load(const std::string &name)
{
    constexpr size_t kWaveHeaderBytes = 44;
    std::string audio;
    EXPECT_TRUE(vantel::readFile(RECORDINGS_FOLDER "/" + name, &audio))
        << name << " of the speech test data is missing";
    return name.ends_with(".wav") && !audio.empty() ? audio.substr(kWaveHeaderBytes) : audio;
}

std::string silence(int milliseconds)
{
    return std::string(static_cast<size_t>(milliseconds) * 32, '\0');
}

std::string noise(int milliseconds, int amplitude)
{
    return ::noise(milliseconds * 16, amplitude);
}

} // namespace recordings
