// From result texts of the recogniser to what the node publishes, payloads byte for byte.
#include "src/dms/dms_record.h"
#include "tests/dms/dms_bench.h"

namespace
{

constexpr char kConfiguration[] = R"({"asr":{"res":"a"}})";

const std::string kConfidenceReport =
    R"(vantel.error {"errId":-7899,"errMsg":"local asr out of confidence boundary"})";
const std::string kNoTextReport = R"(vantel.error {"errId":-7896,"errMsg":"local asr is null"})";
const std::string kRetry = R"(localDm.result {"dm":{"shouldEndSession":false}})";

std::string recognition(const std::string &result)
{
    return "localAsr.result " + result;
}

// The decision without anything of its own about `text`.
std::string decision(const std::string &text)
{
    return R"(localDm.result {"dm":{"shouldEndSession":true,"input":")" + text + R"("}})";
}

const std::pair<const char *, Lines> kResults[] = {
    {R"({"rec":"打 开 空 调","eof":1,"conf":0.8})",
     {recognition(R"({"text":"打开空调","eof":1,"conf":0.8})"), decision("打开空调")}},
    // Key order, and the unchanged copy of "post" beside the changed decision.
    {R"({"post":{"sem":{"dm":{"shouldEndSession":"false","command":{"api":"x"}}}},"conf":1,)"
     R"("pinyin":"a b c","rec":"abc","eof":1})",
     {recognition(R"({"text":"abc","eof":1,"pinyin":"a b c","conf":1,"post":{"sem":{"dm":)"
                  R"({"shouldEndSession":"false","command":{"api":"x"}}}}})"),
      R"(localDm.result {"dm":{"command":{"api":"x"},"shouldEndSession":false,"input":"abc"}})"}},
    // Only the string "false" keeps the session.
    {R"({"rec":"abc","eof":1,"post":{"sem":{"dm":{"shouldEndSession":false,"a":1},"b":2}}})",
     {recognition(R"({"text":"abc","eof":1,"post":{"sem":{"dm":)"
                  R"({"shouldEndSession":false,"a":1},"b":2}}})"),
      R"(localDm.result {"dm":{"a":1,"shouldEndSession":true,"input":"abc"},"b":2})"}},
    {R"({"rec":"abc","eof":1,"post":{"sem":{"slots":[]}}})",
     {recognition(R"({"text":"abc","eof":1,"post":{"sem":{"slots":[]}}})"),
      R"(localDm.result {"slots":[],"dm":{"shouldEndSession":true,"input":"abc"}})"}},
    {R"({"rec":"abc","eof":1,"post":{"sem":{"dm":"x"}}})",
     {recognition(R"({"text":"abc","eof":1,"post":{"sem":{"dm":"x"}}})"), decision("abc")}},
    // Members of the same names, in any case, do not stand before the added ones.
    {R"({"rec":"abc","eof":1,"post":{"sem":{"dm":{"Input":"x","shouldendsession":"false","a":1,)"
     R"("input":"y","shouldEndSession":"true"}}}})",
     {recognition(R"({"text":"abc","eof":1,"post":{"sem":{"dm":{"Input":"x",)"
                  R"("shouldendsession":"false","a":1,"input":"y","shouldEndSession":"true"}}}})"),
      R"(localDm.result {"dm":{"a":1,"shouldEndSession":false,"input":"abc"}})"}},
    // Shorter than three bytes.
    {R"({"rec":"ok","eof":1})", {recognition(R"({"text":"","eof":1})"), decision("")}},
    // Partial results, and those that say neither.
    {R"({"rec":"打 开","eof":0,"pinyin":"da kai","conf":0.6,"post":{}})",
     {recognition(R"({"var":"打 开","eof":0,"pinyin":"da kai","conf":0.6,"post":{}})")}},
    {R"({"rec":"打 开","var":0})", {recognition(R"({"var":"打 开","eof":0})")}},
    {R"({"rec":"打 开","eof":2,"var":0})", {recognition(R"({"var":"打 开","eof":0})")}},
    {R"({"rec":"打 开","eof":2,"var":1,"conf":0.7})", {recognition(R"({"conf":0.7})")}},
    // The grammar's result goes before the statistical one unless it fails.
    {R"({"ngram":{"rec":"统计","eof":1},"grammar":{"rec":"语法","eof":1}})",
     {recognition(R"({"text":"语法","eof":1})"), decision("语法")}},
    {R"({"grammar":{"rec":"语法","eof":1,"conf":0.3},"ngram":{"rec":"统计","eof":1,"conf":0.9}})",
     {recognition(R"({"text":"统计","eof":1,"conf":0.9})"), decision("统计")}},
    {R"({"grammar":null,"ngram":{"rec":"统计","eof":0}})",
     {recognition(R"({"var":"统计","eof":0})")}},
    // The last one that was tried gives the reason.
    {R"({"grammar":{"rec":"语法","conf":0.3},"ngram":{}})", {kNoTextReport}},
    {R"({"grammar":{},"ngram":{"rec":"统计","conf":0.3}})", {kConfidenceReport}},
};

using AsrResult = DmsBench;

TEST_F(AsrResult, BecomesRecognitionAndDecision)
{
    begin(kConfiguration);
    for (const auto &[result, published] : kResults)
        EXPECT_EQ(recognise({result}), published) << result;
}

TEST_F(AsrResult, ThatIsMalformedCostsAtMostItself)
{
    const std::string good = R"({"rec":"打 开","eof":0})";
    const Lines goodPublished = {recognition(R"({"var":"打 开","eof":0})")};
    const std::string huge(3 << 20, 'x');
    const std::pair<std::string, Lines> cases[] = {
        {"no json", {kConfidenceReport}},
        {std::string("\0{}", 3), {kConfidenceReport}},
        {std::string(2000, '['), {kConfidenceReport}},
        {R"([{"rec":"abc","eof":1}])", {kNoTextReport}},
        {R"({"rec":["abc"],"eof":1})", {kNoTextReport}},
        {R"({"grammar":"abc"})", {kNoTextReport}},
        {R"({"rec":"abc","conf":"high"})", {kConfidenceReport}},
        // What follows a complete value, or a zero byte, is not read.
        {good + " and more", goodPublished},
        {good + std::string("\0]", 2), goodPublished},
        // Wrong types beside a usable text.
        {R"({"rec":"abc","eof":0,"pinyin":7,"post":[1],"var":{}})",
         {recognition(R"({"var":"abc","eof":0,"post":[1]})")}},
        // Not UTF-8: the bytes are kept, a cut character included.
        {"{\"rec\":\"ab\xE6\x89\",\"eof\":1}",
         {recognition("{\"text\":\"ab\xE6\x89\",\"eof\":1}"), decision("ab\xE6\x89")}},
        {R"({"rec":")" + huge + R"(","eof":0})",
         {recognition(R"({"var":")" + huge + R"(","eof":0})")}},
    };
    begin(kConfiguration);
    for (const auto &[result, expected] : cases) {
        EXPECT_EQ(recognise({result}), expected) << result.substr(0, 100);
        EXPECT_EQ(recognise({good}), goodPublished) << result.substr(0, 100);
    }
}

TEST_F(AsrResult, BelowTheConfidenceIsDropped)
{
    const std::string half = R"({"rec":"abc","eof":0,"conf":0.5})";
    const Lines accepted = {recognition(R"({"var":"abc","eof":0,"conf":0.5})")};
    begin(kConfiguration);
    EXPECT_EQ(recognise({half}), Lines{kConfidenceReport});
    send("api.localAgent.setParams", R"({"asr":{"confidence":0.5}})");
    EXPECT_EQ(recognise({half}), accepted) << "equal is enough";
    send("api.localAgent.setParams", R"({"asr":{"confidence":"0.9"},"snr":{"confidence":9}})");
    EXPECT_EQ(recognise({half}), accepted) << "only a number counts";
    send("api.localAgent.setParams", R"({"asr":{"confidence":1e300}})");
    EXPECT_EQ(recognise({half}), Lines{kConfidenceReport});
}

TEST_F(AsrResult, FailingIsRetriedSoOftenInARow)
{
    const std::string failed = R"({"rec":""})";
    const std::string partial = R"({"rec":"abc","eof":0})";
    begin(R"({"asr":{},"retryTimes":2})");
    EXPECT_EQ(recognise({failed, failed, failed, "no json"}),
              (Lines{kRetry, kRetry, kNoTextReport, kRetry}));
    EXPECT_EQ(recognise({partial, failed, failed, "no json"}),
              (Lines{recognition(R"({"var":"abc","eof":0})"), kRetry, kRetry, kConfidenceReport}));
}

// Counts what cJSON holds, and lets one allocation fail.
int allocationsLeft = -1;
int allocationsHeld = 0;

TEST(AsrResultMemory, IsAllGivenBackWhicheverAllocationFails)
{
    cJSON_Hooks hooks{[](size_t bytes) -> void * {
                          if (allocationsLeft-- == 0) return nullptr;
                          ++allocationsHeld;
                          return std::malloc(bytes);
                      },
                      [](void *memory) {
                          if (memory) --allocationsHeld;
                          std::free(memory);
                      }};
    const vantel::dms::DmsRecord record;
    for (int failing = 0; failing < 60; ++failing) {
        allocationsLeft = -1;
        cJSON_InitHooks(&hooks);
        {
            vantel::Json result = vantel::jsonParse(
                R"({"rec":"abc","eof":1,"conf":1,"post":{"sem":{"dm":{"a":[1,{"b":"c"}]}}}})");
            vantel::Json output{cJSON_CreateObject()};
            vantel::HeapText decision;
            allocationsLeft = failing;
            vantel::dms::parseAsrResult(&record, result.get(), output.get(), &decision, "test");
            allocationsLeft = -1;
            if (decision) --allocationsHeld; // freed by another hand
        }
        cJSON_InitHooks(nullptr);
        EXPECT_EQ(allocationsHeld, 0) << failing;
    }
}

} // namespace
