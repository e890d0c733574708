#include "apps/config_check.h"

#include "apps/config_keys.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace vantel::app
{
namespace
{

using Complaints = std::vector<std::string>;

std::string inQuotes(std::string_view text)
{
    return "\"" + std::string{text} + "\"";
}

// "vad"."pauseTime"
std::string shownPath(std::string_view path)
{
    std::string shown = "\"";
    for (const char letter : path)
        shown += letter == '.' ? "\".\"" : std::string(1, letter);
    return shown + "\"";
}

// Keys are read without regard to case.
std::string lowered(std::string_view text)
{
    std::string lower{text};
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return lower;
}

std::string_view sectionOf(std::string_view path)
{
    const size_t dot = path.rfind('.');
    return dot == std::string_view::npos ? std::string_view{} : path.substr(0, dot);
}

std::string_view nameOf(std::string_view path)
{
    return path.substr(path.rfind('.') + 1); // of npos + 1, which is 0, too
}

const ConfigKey *findKey(std::string_view path)
{
    const std::string wanted = lowered(path);
    for (const ConfigKey &key : configKeys())
        if (lowered(key.path) == wanted) return &key;
    return nullptr;
}

// Letters to insert, remove, exchange or swap with their neighbour to make one of the other.
size_t distance(const std::string &a, const std::string &b)
{
    std::vector<std::vector<size_t>> cost(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                cost[i][j] = i + j;
                continue;
            }
            cost[i][j] = std::min({cost[i - 1][j] + 1, cost[i][j - 1] + 1,
                                   cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
        }
    }
    return cost[a.size()][b.size()];
}

// The key that was meant: one of the same object that is written nearly so, else one of that very
// name in another.
std::string hintFor(std::string_view section, std::string_view name)
{
    constexpr size_t kLongestName = 64;
    if (name.size() > kLongestName) return "";
    const std::string wanted = lowered(name);
    const ConfigKey *nearest = nullptr;
    size_t least = wanted.size() / 3 + 2;
    for (const ConfigKey &key : configKeys()) {
        if (lowered(sectionOf(key.path)) != lowered(section)) continue;
        const size_t apart = distance(wanted, lowered(nameOf(key.path)));
        if (apart >= least) continue;
        least = apart;
        nearest = &key;
    }
    if (nearest) return ": did you mean " + inQuotes(nameOf(nearest->path)) + "?";
    for (const ConfigKey &key : configKeys())
        if (lowered(nameOf(key.path)) == wanted)
            return ": did you mean " + shownPath(key.path) + "?";
    return "";
}

bool isOneOf(std::string_view values, std::string_view value)
{
    return (" " + std::string{values} + " ").find(" " + std::string{value} + " ") !=
           std::string::npos;
}

std::string shownNumber(double number)
{
    char text[32];
    std::snprintf(text, sizeof text, "%g", number);
    return text;
}

std::string rangeText(const ConfigKey &key)
{
    const std::string kind = key.kind == KeyKind::ms ? "milliseconds" : "a number";
    if (key.most > 0)
        return kind + " from " + shownNumber(key.least) + " to " + shownNumber(key.most);
    return key.least > 0 ? kind + ", at least " + shownNumber(key.least) : kind + ", not negative";
}

// What the value has to be; empty when it is that.
std::string wantedKind(const ConfigKey &key, const cJSON *value)
{
    const bool isText = cJSON_IsString(value) != 0;
    const double number = value->valuedouble;
    switch (key.kind) {
    case KeyKind::object:
    case KeyKind::free:
        return cJSON_IsObject(value) ? "" : "an object";
    case KeyKind::text:
    case KeyKind::path:
        return isText ? "" : "a text";
    case KeyKind::texts:
        for (const cJSON *item = value->child; item; item = item->next)
            if (!cJSON_IsString(item)) return "an array of texts";
        return cJSON_IsArray(value) ? "" : "an array of texts";
    case KeyKind::word: {
        if (isText && isOneOf(key.values, value->valuestring)) return "";
        std::string wanted;
        for (const char letter : key.values)
            wanted += letter == ' ' ? "\", \"" : std::string(1, letter);
        return inQuotes(wanted);
    }
    case KeyKind::onText:
        if (isText && (std::strcmp(value->valuestring, "true") == 0 ||
                       std::strcmp(value->valuestring, "false") == 0))
            return "";
        return "the text \"true\" to be on";
    case KeyKind::onNumber:
        return cJSON_IsBool(value) || (cJSON_IsNumber(value) && (number == 0 || number == 1))
                   ? ""
                   : "1 or true to be on";
    case KeyKind::boolean:
        return cJSON_IsBool(value) ? "" : "true or false";
    case KeyKind::ms:
    case KeyKind::number:
        if (cJSON_IsNumber(value) && number >= key.least && (key.most <= 0 || number <= key.most) &&
            (key.kind == KeyKind::number || number == std::floor(number)))
            return "";
        return rangeText(key);
    }
    return "";
}

// Scales may be anything.
bool isScale(const ConfigKey &key)
{
    return sectionOf(key.path) == "asr.confidenceScale";
}

void checkObject(const cJSON *object, const std::string &section, Complaints *out)
{
    for (const cJSON *member = object->child; member; member = member->next) {
        const std::string name = member->string ? member->string : "";
        const std::string path = section.empty() ? name : section + "." + name;
        const ConfigKey *key = name.find('.') == std::string::npos ? findKey(path) : nullptr;
        if (cJSON_GetObjectItem(object, name.c_str()) != member) {
            out->push_back(shownPath(path) + " stands there twice: the first counts");
        } else if (!key) {
            out->push_back("unknown key " + shownPath(path) + hintFor(section, name));
        } else if (const std::string wanted = wantedKind(*key, member);
                   !wanted.empty() && !(isScale(*key) && cJSON_IsNumber(member))) {
            HeapText value = jsonPrint(member);
            out->push_back(shownPath(path) + " must be " + wanted + ", not " +
                           (value ? value.get() : "that"));
        } else if (key->kind == KeyKind::object) {
            checkObject(member, std::string{key->path}, out);
        }
    }
}

void checkParts(const cJSON *root, Complaints *out)
{
    const cJSON *vad = jsonObject(root, "vad");
    const cJSON *grammar = jsonObject(root, "gram");
    const cJSON *recogniser = jsonObject(root, "asr");
    if (jsonIs(root, "fullDuplex", "true") && jsonInt(vad, "fullMode", 0) != 1)
        out->push_back("\"fullDuplex\" wants \"vad\".\"fullMode\" to be 1");
    if (grammar && !jsonMember(grammar, "file") && !jsonMember(grammar, "text"))
        out->push_back("\"gram\" needs a \"file\" or a \"text\"");
    const char *kept = jsonString(grammar, "name");
    const char *used = jsonString(recogniser, "grammar");
    if (grammar && used && !jsonMember(recogniser, "grammarFile") &&
        std::strcmp(used, kept ? kept : "default") != 0)
        out->push_back("\"asr\".\"grammar\" is " + inQuotes(used) + ", but \"gram\".\"name\" is " +
                       inQuotes(kept ? kept : "default"));
    if (grammar && kept && recogniser && !used && !jsonMember(recogniser, "grammarFile") &&
        std::strcmp(kept, "default") != 0)
        out->push_back("no \"asr\".\"grammar\" uses " + inQuotes(kept) + ", the \"gram\".\"name\"");
}

} // namespace

std::vector<std::string> configComplaints(const cJSON *root)
{
    Complaints complaints;
    checkObject(root, "", &complaints);
    checkParts(root, &complaints);
    return complaints;
}

std::string withoutComments(std::string text)
{
    enum { kCode, kText, kLine, kBlock } state = kCode;
    for (size_t i = 0; i < text.size(); ++i) {
        const std::string_view two = std::string_view{text}.substr(i, 2);
        if (state == kText) {
            if (text[i] == '\\')
                ++i;
            else if (text[i] == '"')
                state = kCode;
        } else if (state == kCode) {
            if (text[i] == '"')
                state = kText;
            else if (two == "//")
                state = kLine;
            else if (two == "/*")
                state = kBlock;
        } else if (state == kLine && text[i] == '\n') {
            state = kCode;
        } else if (state == kBlock && two == "*/") {
            text[i++] = ' ';
            text[i] = ' ';
            state = kCode;
            continue;
        }
        if (state >= kLine && text[i] != '\n') text[i] = ' ';
    }
    return text;
}

std::string placeOf(const std::string &text, size_t offset)
{
    size_t line = 1;
    size_t begin = 0;
    for (size_t i = 0; i < std::min(offset, text.size()); ++i) {
        if (text[i] != '\n') continue;
        ++line;
        begin = i + 1;
    }
    return std::to_string(line) + ":" + std::to_string(offset - begin + 1);
}

} // namespace vantel::app
