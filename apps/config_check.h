// What is wrong with a configuration, before anything is made of it.
#pragma once

#include "tools/json.h"

#include <string>
#include <vector>

namespace vantel::app
{

// A sentence for each key that nobody reads, with the nearest one that is read, for each value of
// the wrong kind, and for parts that do not fit together. `root` is the tool's configuration, with
// "init" in it.
std::vector<std::string> configComplaints(const cJSON *root);

// The text with its comments, // and /* */, turned to blanks, so that places stay where they are.
std::string withoutComments(std::string text);

// The place of a byte in the text: "3:17".
std::string placeOf(const std::string &text, size_t offset);

} // namespace vantel::app
