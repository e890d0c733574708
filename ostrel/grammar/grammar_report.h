// What a compiled grammar makes of words and sentences, for whoever writes one.
#pragma once

#include "ostrel/grammar/grammar.h"

namespace vantel::ostrel
{

// Writes, to the file "report" of the configuration, an object with
//   "words"      the grammar's words in the order of their text: {"word", "phones": [...], and
//                "guessed": true where no dictionary has it}
//   "sentences"  for each text of "try": {"text", and "rule" and "sem" of its match}; where it does
//                not match, "got", how many of its "words" went well, "expected", the words that
//                could come there, and "mayEnd"; or "tooHard": true
// True without a "report"; false, with a log line, when it cannot be written.
bool grammarReport(const cJSON *configuration, const Grammar &grammar);

} // namespace vantel::ostrel
