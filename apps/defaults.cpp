#include "apps/defaults.h"

#include "apps_grammars.h"

namespace vantel::app
{
namespace
{

constexpr char kConfiguration[] = R"json({
    "deviceId": "vantel-tool",
    "recorder": {"mode": "external"},
    "player": {"mode": "external"},
    "vad": {"pauseTime": 500},
    "gram": {"name": "demo"},
    "asr": {"grammar": "demo"}
})json";

} // namespace

Json defaultConfiguration()
{
    return jsonParse(kConfiguration);
}

std::string demoGrammar(const std::string &language)
{
    return language == "en" ? kEnglishGrammar : language == "zh" ? kChineseGrammar : "";
}

} // namespace vantel::app
