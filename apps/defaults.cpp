#include "apps/defaults.h"

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

// A robot that moves, turns and answers; the numbers are captured as they are spoken.
constexpr char kEnglish[] = R"jsgf(#JSGF V1.0;
grammar robot;

public <command> = <move> | <turn> | <light> | <stop>;

<move> = go <direction> [<distance> (meter | meters)]
    {{"dm":{"command":{"api":"robot.move","param":{"direction":"$direction","distance":"$distance"}},"shouldEndSession":"true"}}};
<turn> = turn <side>
    {{"dm":{"command":{"api":"robot.turn","param":{"side":"$side"}},"shouldEndSession":"true"}}};
<light> = turn the light <state>
    {{"dm":{"command":{"api":"light.set","param":{"state":"$state"}},"shouldEndSession":"true"}}};
<stop> = stop [now] {{"dm":{"command":{"api":"robot.stop"},"shouldEndSession":"true"}}};

<direction> = forward | backward;
<side> = left | right | around;
<state> = on | off;
<distance> = one | two | three | four | five | six | seven | eight | nine | ten;
)jsgf";

} // namespace

Json defaultConfiguration()
{
    return jsonParse(kConfiguration);
}

std::string demoGrammar(const std::string &language)
{
    return language == "en" ? kEnglish : "";
}

} // namespace vantel::app
