// Owned cJSON trees and the few ways in which the system reads and prints them.
//
// Keys match without regard to letter case. A text counts as JSON when it begins with a complete
// value; whatever follows is ignored.
#pragma once

#include "tools/heap_text.h"

#include <cJSON.h>
#include <memory>

namespace vantel
{

struct JsonDelete {
    void operator()(cJSON *tree) const { cJSON_Delete(tree); }
};

using Json = std::unique_ptr<cJSON, JsonDelete>;

// Empty when the text is null or not JSON.
Json jsonParse(const char *text);

// Adds the item under the key, or behind the array's last one: false without memory, also when the
// item is empty for the want of it; it is freed then.
bool jsonAdd(cJSON *object, const char *key, Json item);
bool jsonAppend(cJSON *array, Json item);

// Printed without white space; empty when there is no memory.
HeapText jsonPrint(const cJSON *tree);

// Printed with line breaks and tabs.
HeapText jsonPrintFormatted(const cJSON *tree);

// The member's string; null when there is no such member or it is not a string. `object` may be
// null or of any type, here and below.
const char *jsonString(const cJSON *object, const char *key);

// The member when it is an object, else null.
const cJSON *jsonObject(const cJSON *object, const char *key);

// The member of any type, or null.
const cJSON *jsonMember(const cJSON *object, const char *key);

// Takes every member of that name out, whatever its case: readers find the first one.
void jsonRemove(cJSON *object, const char *key);

// Whether the member is exactly the string `value`.
bool jsonIs(const cJSON *object, const char *key, const char *value);

// The member's integer: cut from a number, 1 for true, 0 for any other kind; `fallback` when it is
// absent.
int jsonInt(const cJSON *object, const char *key, int fallback);

// The member's number, cut to what a float holds; `fallback` when it is no number.
float jsonFloat(const cJSON *object, const char *key, float fallback);

} // namespace vantel
