#include "src/agent/error_report.h"

#include <gtest/gtest.h>

using namespace vantel;

namespace
{

TEST(ErrorReport, HasTheMessageOfItsCodeAndTheExtraTextAsTheValueThatItBeginsWith)
{
    const struct {
        ErrorCode code;
        const char *extra;
        const char *report;
    } cases[] = {
        {VANTEL_ERROR_PARAMS, "params is null",
         R"({"errId":-6899,"errMsg":"params err","extra":"params is null"})"},
        {VANTEL_ERROR_ASR_NULL, nullptr, R"({"errId":-7999,"errMsg":"asr is null"})"},
        {VANTEL_ERROR_SET_SKILL_SETTINGS_PARAMS, nullptr,
         R"({"errId":-7745,"errMsg":"set skill settings  params not enough, not  operate or )"
         R"(settings or skillId"})"},
        {-7000, nullptr, R"({"errId":-7000,"errMsg":"Invalid error code"})"},
        {-6898, nullptr, R"({"errId":-6898,"errMsg":"Invalid error code"})"},
        {-8000, nullptr, R"({"errId":-8000,"errMsg":"Invalid error code"})"},
        {0, nullptr, R"({"errId":0,"errMsg":"Invalid error code"})"},
        {5, nullptr, R"x({"errId":5,"errMsg":"Invalid error code (value greater than zero)"})x"},
        {VANTEL_ERROR_VAD_CORE, R"({"a":[1]} tail)",
         R"({"errId":-7399,"errMsg":"vad core error","extra":{"a":[1]}})"},
        {VANTEL_ERROR_VAD_CORE, "", R"({"errId":-7399,"errMsg":"vad core error","extra":""})"},
        {VANTEL_ERROR_VAD_CORE, "a \"b\"\n",
         R"({"errId":-7399,"errMsg":"vad core error","extra":"a \"b\"\n"})"},
    };
    for (const auto &[code, extra, report] : cases)
        EXPECT_STREQ(errorReport(code, extra).get(), report);
}

} // namespace
