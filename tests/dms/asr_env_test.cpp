// The recogniser's start text, byte for byte.
#include "src/dms/dms_record.h"

#include <gtest/gtest.h>

namespace
{

struct EnvCase {
    const char *env;
    const char *text;
};

const EnvCase kCases[] = {
    {R"({"use_pinyin":1,"lang":"zh"})", R"({"env":"use_pinyin=1;lang=\"zh\";"})"},
    {R"({"a":true,"n":null,"b":{"c":2,"d":{"e":false}},"f":"x"})",
     R"({"env":"a=true;c=2;e=false;f=\"x\";"})"},
    {R"(["x"])", R"({"env":"=\"x\";"})"},
    {R"({"list":[1,{"k":"v"},[true]],"z":0})", R"({"env":"=1;k=\"v\";=true;z=0;"})"},
    {R"({"n":null,"o":{},"a":[]})", R"({"env":""})"},
    // No further escaping of what the parser unescaped.
    {R"({"p":"a\"b\\c\n语"})", "{\"env\":\"p=\\\"a\"b\\c\n语\\\";\"}"},
    // Whole within a millionth of the integer part, which is cut and not rounded.
    {R"({"a":0.5,"b":-0.25,"c":1.0000005,"d":0.9999999,"e":-3,"f":1.00001})",
     R"({"env":"a=0.500000;b=-0.250000;c=1;d=1.000000;e=-3;f=1.000010;"})"},
    {R"({"a":2147483647,"b":2147483648,"c":-2147483649,"d":-1e999})",
     R"({"env":"a=2147483647;b=2147483648.000000;c=-2147483649.000000;d=-inf;"})"},
};

TEST(AsrEnv, WritesEachKindOfMemberDepthFirst)
{
    for (const EnvCase &one : kCases)
        EXPECT_EQ(vantel::dms::buildAsrEnv(vantel::jsonParse(one.env).get()), one.text) << one.env;
    std::string largest = vantel::dms::buildAsrEnv(vantel::jsonParse("[1e308]").get());
    EXPECT_EQ(largest.size(), sizeof(R"({"env":"=.000000;"})") - 1 + 309);
}

} // namespace
