// Tags of a grammar and the meaning that they build.
//
// A tag is one of three:
//   {"member": ..., ...}  an object: its members merge into the meaning, in the order of the match
//   {21}  {"text"}  {[1]} any other JSON value: the value of the rule in which it stands
//   {some text}           the same, as a string
// In the strings of a tag, "$name" stands for what the rule <name> matched: its value, else the
// words. A string that is nothing but "$name" takes the value with its type; a member whose rule
// was not part of the match is left out; "$$" is a dollar sign.
#pragma once

#include "tools/json.h"

#include <memory>
#include <string>
#include <vector>

namespace vantel::ostrel
{

using SharedJson = std::shared_ptr<const cJSON>;

// Const all through: several threads may read one tree at once.
inline SharedJson sharedJson(Json tree)
{
    return {tree.release(), [](const cJSON *owned) { cJSON_Delete(const_cast<cJSON *>(owned)); }};
}

struct GrammarTag {
    bool isObject = false;
    SharedJson value;
};

// The tag of the text between its outer braces. False and the reason when it looks like JSON but
// is not.
bool readTag(const std::string &inner, GrammarTag *tag, std::string *reason);

// The rule names that the tag's strings stand for, each once.
std::vector<std::string> tagReferences(const GrammarTag &tag);

struct Capture {
    std::string rule;
    SharedJson value;
    bool direct; // referred to by the tag's own rule, not by one below
};

// A copy of the tag's value with its references filled in. Of several captures of a rule counts the
// last one of those before `at`, else the first one after it; direct ones come before others. Null
// when nothing is left.
Json fillTag(const GrammarTag &tag, const std::vector<Capture> &captures, size_t at);

// Merges the members of `from` into the object `into`: objects into objects, anything else
// replaces.
void mergeJson(cJSON *into, const cJSON *from);

} // namespace vantel::ostrel
