// What the tool runs when nobody says otherwise.
#pragma once

#include "tools/json.h"

#include <string>

namespace vantel::app
{

// The instance's configuration: host-fed audio, host playback, detector, grammar and recogniser.
Json defaultConfiguration();

// The demo grammar of a language ("en" or "zh"); empty when there is none.
std::string demoGrammar(const std::string &language);

} // namespace vantel::app
