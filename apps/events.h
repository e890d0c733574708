// The library's events, and a verdict on each recording, as JSON: an object a line.
//
//   {"ms":3260,"event":1013,"name":"command","file":"a.wav","position":2830,"type":101,"data":{}}
//   {"ms":3270,"name":"verdict","file":"a.wav","position":2830,"data":{"verdict":"recognised"}}
//
// "ms" counts from the beginning of the session. "position" is how many milliseconds of the
// recording had been heard; silence that the tool puts behind a recording counts on. "data" is what
// the host's callback was given: {"bytes":N} when it is no JSON, a string when it does not parse. A
// final "asr" has "words" as well, where the recogniser tells their times: [{"text":"go",
// "begin":210,"end":430}], in milliseconds from the beginning of the utterance.
#pragma once

#include "tools/json.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vantel::app
{

struct WordTime {
    std::string text;
    int64_t beginMs; // from the beginning of the utterance
    int64_t endMs;
};

// When something happened, and where in which recording.
struct Moment {
    int64_t ms = 0;
    std::string file;
    int64_t positionMs = 0;
};

struct HostEvent {
    Moment moment;
    int32_t event = 0;
    int32_t type = 0;
    std::string data;
    std::vector<WordTime> words;
};

// The event's name in lower case, as in VANTEL_EVENT_ASR; "unknown" for a number that has none.
const char *eventName(int32_t event);

std::string jsonLine(const HostEvent &event);
std::string verdictLine(const Moment &moment, Json data);

} // namespace vantel::app
