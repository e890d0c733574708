// For builds without PortAudio: recordings only.
#include "apps/audio_source.h"

namespace vantel::app
{
namespace
{

constexpr char kWhy[] = "this build has no microphone support; vantel run FILE hears a recording";

} // namespace

std::unique_ptr<AudioSource> openMicrophone(int, std::string *error)
{
    *error = kWhy;
    return nullptr;
}

std::vector<std::string> microphoneNames(std::string *error)
{
    *error = kWhy;
    return {};
}

} // namespace vantel::app
