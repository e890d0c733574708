#include "ostrel/grammar/grammar_tag.h"

#include "tools/text.h"

#include <algorithm>
#include <functional>

namespace vantel::ostrel
{
namespace
{

// Empty when the text is not one whole JSON value; `stop` is where reading stopped.
Json parseWhole(const std::string &text, size_t *stop)
{
    const char *end = nullptr;
    Json value{cJSON_ParseWithOpts(text.c_str(), &end, 1)};
    *stop = end ? static_cast<size_t>(end - text.c_str()) : 0;
    return value;
}

bool looksLikeJson(const std::string &text)
{
    return text[0] == '"' || text[0] == '{' || text[0] == '[' ||
           text.find("\":") != std::string::npos || text.find("\" :") != std::string::npos;
}

bool isNameByte(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '.' || c == '-' || (static_cast<unsigned char>(c) & 0x80) != 0;
}

// Calls literal(text) and reference(name) for the pieces of a string in order. A name may be
// followed by a full stop or a hyphen that ends it.
void eachPiece(const std::string &text, const std::function<void(const std::string &)> &literal,
               const std::function<void(const std::string &)> &reference)
{
    size_t at = 0;
    while (at < text.size()) {
        size_t dollar = std::min(text.find('$', at), text.size());
        if (dollar > at) literal(text.substr(at, dollar - at));
        if (dollar == text.size()) return;
        size_t end = dollar + 1;
        while (end < text.size() && isNameByte(text[end]))
            ++end;
        while (end > dollar + 1 && (text[end - 1] == '.' || text[end - 1] == '-'))
            --end;
        if (end == dollar + 1) {
            literal("$");
            at = end + (end < text.size() && text[end] == '$' ? 1 : 0);
        } else {
            reference(text.substr(dollar + 1, end - dollar - 1));
            at = end;
        }
    }
}

void eachString(const cJSON *value, const std::function<void(const std::string &)> &action)
{
    if (cJSON_IsString(value)) action(value->valuestring);
    for (const cJSON *child = value->child; child; child = child->next)
        eachString(child, action);
}

struct Filling {
    const std::vector<Capture> *captures;
    size_t at;
};

const cJSON *findCapture(const Filling &filling, const std::string &rule)
{
    const std::vector<Capture> &all = *filling.captures;
    for (bool direct : {true, false}) {
        for (size_t i = std::min(filling.at, all.size()); i-- > 0;)
            if (all[i].rule == rule && all[i].direct == direct) return all[i].value.get();
    }
    for (bool direct : {true, false}) {
        for (size_t i = filling.at; i < all.size(); ++i)
            if (all[i].rule == rule && all[i].direct == direct) return all[i].value.get();
    }
    return nullptr;
}

Json filledString(const std::string &text, const Filling &filling)
{
    std::string result;
    const cJSON *only = nullptr; // the value of a string that is nothing but a reference
    int pieces = 0;
    bool complete = true;
    eachPiece(
        text,
        [&](const std::string &piece) {
            result += piece;
            pieces++;
        },
        [&](const std::string &name) {
            const cJSON *value = findCapture(filling, name);
            pieces++;
            only = value;
            if (!value) {
                complete = false;
            } else if (cJSON_IsString(value)) {
                result += value->valuestring;
            } else if (HeapText printed = jsonPrint(value)) {
                result += printed.get();
            }
        });
    if (!complete) return nullptr;
    if (pieces == 1 && only) return Json{cJSON_Duplicate(only, 1)};
    return Json{cJSON_CreateString(result.c_str())};
}

Json filled(const cJSON *value, const Filling &filling)
{
    if (cJSON_IsString(value)) return filledString(value->valuestring, filling);
    if (!cJSON_IsObject(value) && !cJSON_IsArray(value)) return Json{cJSON_Duplicate(value, 1)};
    Json copy{cJSON_IsObject(value) ? cJSON_CreateObject() : cJSON_CreateArray()};
    for (const cJSON *child = value->child; child; child = child->next) {
        Json item = filled(child, filling);
        if (!item) continue;
        if (cJSON_IsObject(value)) {
            jsonAdd(copy.get(), child->string, std::move(item));
        } else {
            jsonAppend(copy.get(), std::move(item));
        }
    }
    return copy;
}

} // namespace

bool readTag(const std::string &inner, GrammarTag *tag, std::string *reason)
{
    size_t stop = 0;
    const std::string whole = "{" + inner + "}";
    Json value = parseWhole(whole, &stop);
    tag->isObject = value != nullptr;
    std::string text{trimmed(inner, " \t\r\n")};
    if (!value) {
        size_t ignored = 0;
        value = parseWhole(text, &ignored);
    }
    if (!value && looksLikeJson(text)) {
        constexpr size_t kShownBytes = 24;
        *reason = "this tag is not valid JSON, near: " + whole.substr(stop, kShownBytes);
        return false;
    }
    if (!value) value.reset(cJSON_CreateString(text.c_str()));
    tag->value = sharedJson(std::move(value));
    return true;
}

std::vector<std::string> tagReferences(const GrammarTag &tag)
{
    std::vector<std::string> names;
    eachString(tag.value.get(), [&](const std::string &text) {
        eachPiece(
            text, [](const std::string &) {},
            [&](const std::string &name) {
                if (std::find(names.begin(), names.end(), name) == names.end())
                    names.push_back(name);
            });
    });
    return names;
}

Json fillTag(const GrammarTag &tag, const std::vector<Capture> &captures, size_t at)
{
    return filled(tag.value.get(), {&captures, at});
}

void mergeJson(cJSON *into, const cJSON *from)
{
    for (const cJSON *member = from ? from->child : nullptr; member; member = member->next) {
        cJSON *old = cJSON_GetObjectItemCaseSensitive(into, member->string);
        if (cJSON_IsObject(old) && cJSON_IsObject(member)) {
            mergeJson(old, member);
        } else if (old) {
            cJSON_ReplaceItemInObjectCaseSensitive(into, member->string,
                                                   cJSON_Duplicate(member, 1));
        } else {
            jsonAdd(into, member->string, Json{cJSON_Duplicate(member, 1)});
        }
    }
}

} // namespace vantel::ostrel
