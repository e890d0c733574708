// The one table of what a configuration may hold: a configuration is checked against it, the
// example is printed from it, and a test holds the documents against it.
#pragma once

#include <span>
#include <string_view>

namespace vantel::app
{

enum class KeyKind {
    object,   // with keys of its own in the table
    free,     // an object whose members are the user's
    text,     //
    path,     //
    texts,    // an array of them
    word,     // one of `values`
    onText,   // a switch: on as the text "true" and nothing else
    onNumber, // a switch: on as 1 or true
    boolean,  // true or false
    ms,       // milliseconds, a whole number
    number,   // from `least` to `most`
};

struct ConfigKey {
    std::string_view path; // "vad.pauseTime"; below "init" what goes to vantelInit
    KeyKind kind;
    std::string_view values;  // of a word: separated by blanks
    std::string_view example; // JSON, as an example or the default shows it
    bool isUsual;             // the example has it switched on
    std::string_view about;
    double least = 0; // of milliseconds and numbers
    double most = 0;  // 0: no limit
};

// Objects come before their members, and members in one row.
std::span<const ConfigKey> configKeys();

} // namespace vantel::app
