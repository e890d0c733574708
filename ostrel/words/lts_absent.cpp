#include "ostrel/words/letter_to_sound.h"

namespace vantel::ostrel
{

std::string letterToSound(const std::string &)
{
    return {};
}

} // namespace vantel::ostrel
