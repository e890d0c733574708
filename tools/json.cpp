#include "tools/json.h"

#include <algorithm>
#include <cfloat>
#include <cstring>

namespace vantel
{

Json jsonParse(const char *text)
{
    return Json{text ? cJSON_Parse(text) : nullptr};
}

bool jsonAdd(cJSON *object, const char *key, Json item)
{
    if (!cJSON_AddItemToObject(object, key, item.get())) return false;
    static_cast<void>(item.release());
    return true;
}

bool jsonAppend(cJSON *array, Json item)
{
    if (!cJSON_AddItemToArray(array, item.get())) return false;
    static_cast<void>(item.release());
    return true;
}

HeapText jsonPrint(const cJSON *tree)
{
    return HeapText{cJSON_PrintUnformatted(tree)};
}

HeapText jsonPrintFormatted(const cJSON *tree)
{
    return HeapText{cJSON_Print(tree)};
}

const cJSON *jsonMember(const cJSON *object, const char *key)
{
    return cJSON_GetObjectItem(object, key);
}

const char *jsonString(const cJSON *object, const char *key)
{
    return cJSON_GetStringValue(jsonMember(object, key));
}

const cJSON *jsonObject(const cJSON *object, const char *key)
{
    const cJSON *member = jsonMember(object, key);
    return cJSON_IsObject(member) ? member : nullptr;
}

void jsonRemove(cJSON *object, const char *key)
{
    while (cJSON_GetObjectItem(object, key))
        cJSON_DeleteItemFromObject(object, key);
}

bool jsonIs(const cJSON *object, const char *key, const char *value)
{
    const char *text = jsonString(object, key);
    return text && std::strcmp(text, value) == 0;
}

int jsonInt(const cJSON *object, const char *key, int fallback)
{
    const cJSON *member = jsonMember(object, key);
    return member ? member->valueint : fallback;
}

float jsonFloat(const cJSON *object, const char *key, float fallback)
{
    const cJSON *member = jsonMember(object, key);
    if (!cJSON_IsNumber(member)) return fallback;
    return static_cast<float>(std::clamp<double>(member->valuedouble, -FLT_MAX, FLT_MAX));
}

} // namespace vantel
