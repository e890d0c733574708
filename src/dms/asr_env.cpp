// The recogniser's start text out of the configuration's "env".
#include "src/dms/dms_record.h"

#include <charconv>
#include <cmath>
#include <iterator>

namespace vantel::dms
{
namespace
{

constexpr double kWholeTolerance = 0.000001;

// As "%lf" prints it, whatever the locale.
void appendFraction(std::string *pairs, double value)
{
    char digits[400]; // the largest double has 309 digits before the point
    auto end =
        std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed, 6);
    pairs->append(digits, end.ptr);
}

// cJSON keeps valueint within the range of int, so a larger value is never close to it.
void appendNumber(std::string *pairs, const cJSON *number)
{
    if (std::fabs(number->valuedouble - number->valueint) <= kWholeTolerance) {
        pairs->append(std::to_string(number->valueint));
    } else {
        appendFraction(pairs, number->valuedouble);
    }
}

// The pairs stand inside a JSON string, which is why their quotes carry a backslash. Names and
// values are taken as they are: the engine gets them back unchanged only without special
// characters.
void appendPair(std::string *pairs, const cJSON *item)
{
    if (cJSON_IsNull(item)) return;
    if (item->string) pairs->append(item->string);
    pairs->push_back('=');
    if (cJSON_IsString(item)) {
        pairs->append("\\\"").append(item->valuestring).append("\\\"");
    } else if (cJSON_IsNumber(item)) {
        appendNumber(pairs, item);
    } else {
        pairs->append(cJSON_IsTrue(item) ? "true" : "false");
    }
    pairs->push_back(';');
}

// The parser bounds how deep the values nest.
void appendPairs(std::string *pairs, const cJSON *parent)
{
    const cJSON *item = nullptr;
    cJSON_ArrayForEach(item, parent)
    {
        if (cJSON_IsObject(item) || cJSON_IsArray(item)) {
            appendPairs(pairs, item);
        } else {
            appendPair(pairs, item);
        }
    }
}

} // namespace

std::string buildAsrEnv(const cJSON *env)
{
    std::string text = R"({"env":")";
    appendPairs(&text, env);
    return text + R"("})";
}

} // namespace vantel::dms
