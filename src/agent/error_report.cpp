#include "src/agent/error_report.h"

#include "src/node/publish_text.h"
#include "src/node/topics.h"
#include "tools/json.h"

#include <algorithm>
#include <iterator>

namespace vantel
{
namespace
{

struct ErrorText {
    ErrorCode code;
    const char *message;
};

// Ascending by code; each area has a hundred codes. Hosts compare the messages, spelling included.
constexpr ErrorText kErrorTexts[] = {
    // Recognition results.
    {-7999, "asr is null"},
    {-7998, "nlu is null"},
    // Local recogniser.
    {-7899, "local asr out of confidence boundary"},
    {-7898, "asr core error"},
    {-7897, "local asr exceedlimit"},
    {-7896, "local asr is null"},
    // Dialog service, cloud recognition, settings, vocabularies and voiceprint.
    {-7799, "dm network timeout"},
    {-7798, "dm network unreachable"},
    {-7797, "cloud asr out of confidence boundary"},
    {-7796, "skills response timeout"},
    {-7795, "native api need feed back to server"},
    {-7794, "cloud asr server timeout"},
    {-7793, "skill settings params not enough"},
    {-7792, "skill settings params format error"},
    {-7791, "system settings params not enough"},
    {-7790, "system settings params format error"},
    {-7789, "getting system or skill settings is busy"},
    {-7788, "context sync params not enough"},
    {-7787, "context sync params format error, should be json"},
    {-7786, "input asr audio error"},
    {-7785, "input text or trigger intent logic error"},
    {-7784, "lasr upload file logic error"},
    {-7783, "unknown logic error"},
    {-7782, "trigger intent params not enough"},
    {-7781, "lasr not connect"},
    {-7780, "fulldulpx dm neteork timeout"},
    {-7779, "dm server abort error"},
    {-7778, "user network abort"},
    {-7777, "user lasr network abort"},
    {-7776, "vpr register network unreachable"},
    {-7775, "vpr unregister network unreachable"},
    {-7774, "vpr verify network unreachable"},
    {-7773, "vpr resgister: http response wrong"},
    {-7772, "vpr unresgister: http response wrong"},
    {-7771, "vpr verify: http response wrong"},
    {-7770, "vpr resgister: timeout"},
    {-7769, "vpr unresgister: timeout"},
    {-7768, "vpr verify: timeout"},
    {-7767, "cdm unknown network error"},
    {-7766, "unknown module network timeout error"},
    {-7765, "unknown module input params error"},
    {-7764, "lasr file server response error"},
    {-7763, "lasr realtimeback server response error"},
    {-7762, "allchain asr or vpr or dm result  invalid response format, must be json"},
    {-7761, "unknown module server response format error"},
    {-7760, "allchain asr response error"},
    {-7759, "allchain asr or dm response not sessionId or eof or shouldEndSession"},
    {-7758, "invalid response format error, asrplus speakerLabels must be json array"},
    {-7757, "asrplus server error"},
    {-7756, "pure asr server response not eof or result"},
    {-7755, "pure asr server response not var or rec"},
    {-7754, "update vocabs network timeout"},
    {-7753, "get vocabs network timeout"},
    {-7752, "update vocabs failed"},
    {-7751, "get vocabs failed"},
    {-7750, "vocabs params not enough, not vocabName or operation"},
    {-7749, "update vocabs params not enough, not vocabMode or vocabContent"},
    {-7748, "get vocabs params not enough, not cinfo"},
    {-7747, "set system settings params not enough, not operate or settings"},
    {-7746, "get system or skill settings result format error, must be json array"},
    {-7745, "set skill settings  params not enough, not  operate or settings or skillId"},
    {-7744, "lasr ws server abort error"},
    {-7743, "lasr http server abort error"},
    {-7742, "cdm stream tts data error"},
    {-7741, "vpr register progress error"},
    {-7740, "vpr unregister progress error"},
    {-7739, "vpr verify progress error"},
    // User account authorisation.
    {-7697, "oauth need params of refreshTokenFile clientId userId codeVerifier authCode"},
    {-7696, "get refresh token failed"},
    {-7695, "not access token"},
    {-7693, "refresh token is expired"},
    // Local speech output.
    {-7599, "ltts resoure error"},
    {-7598, "ltts not support ssml"},
    // Cloud speech output.
    {-7499, "ctts network timeout"},
    {-7498, "ctts network unreachable"},
    {-7497, "ctts Insufficient usage or invalid error"},
    {-7496, "tts closed by peer"},
    {-7495, "tts voicecopy server response error"},
    // Voice activity and signal-to-noise measurement.
    {-7399, "vad core error"},
    {-7398, "local snr out of confidence boundary"},
    {-7397, "snr core error"},
    {-7396, "local vprRuntime core error"},
    {-7395, "snr error, due to not voice"},
    {-7394, "snr error, due to not silence"},
    // Wakeup words.
    {-7299, "wakeup core error"},
    {-7298, "wakeup set words params not json"},
    {-7297, "wakeup set words params not json array"},
    {-7296, "wakeup config not json"},
    {-7295, "evaluate wakeupWords params not json array"},
    {-7294, "evaluate wakeupWords count must 3<=Num<= 5"},
    {-7293, "evaluate wakeupWords in blackList"},
    {-7292, "evaluate wakeupWords error, due to pinyin repeat too much"},
    {-7291, "evaluate wakeupWords error, due to nonInital too much"},
    {-7290, "evaluate wakeupWords error, due to low freq pinyin too much"},
    {-7289, "evaluate wakeupWords getting score less than six, check closeMouth or oral or "
            "noInital or not using ABB,BBA,ABA,ABBA and so on"},
    {-7288, "wakeupWords must chinese when using oneshot or must set words subsets"},
    // Grammar.
    {-7199, "gram core error"},
    // Companion device.
    {-7099, "qx download error"},
    {-7098, "qx dfu error"},
    {-7097, "qx check device error"},
    {-7096, "qx check device not params"},
    {-7095, "qx check device params format error"},
    {-7094, "qx reset error"},
    {-7093, "qx set info params format error"},
    {-7092, "qx get info params format error"},
    {-7091, "qx reset not find device"},
    {-7090, "qx reset open device error, not permission or busy"},
    {-7089, "qx check not find device"},
    {-7088, "qx check and open device error, not permission or busy"},
    {-7087, "qx download not find device"},
    {-7086, "qx download open device error, not permission or busy"},
    {-7085, "qx dfu not find device"},
    {-7084, "qx dfu open device error, not permission or busy"},
    {-7083, "qx change mode not find device"},
    {-7082, "qx change mode open device error, not permission or busy"},
    {-7081, "qx change mode error"},
    {-7080, "qx operate info not params"},
    {-7079, "qx operate info params format error"},
    {-7078, "qx operate info error"},
    // Audio driver.
    {-6999, "alsa driver error, need restart card or system"},
    // Parameters.
    {-6899, "params err"},
};

static_assert(std::ranges::is_sorted(kErrorTexts, {}, &ErrorText::code));

const char *errorMessage(ErrorCode code)
{
    const ErrorText *found = std::ranges::lower_bound(kErrorTexts, code, {}, &ErrorText::code);
    if (found != std::end(kErrorTexts) && found->code == code) return found->message;
    return code > 0 ? "Invalid error code (value greater than zero)" : "Invalid error code";
}

} // namespace

HeapText errorReport(ErrorCode code, const char *extra)
{
    Json report{cJSON_CreateObject()};
    if (!report) return nullptr;
    cJSON_AddNumberToObject(report.get(), "errId", code);
    cJSON_AddStringToObject(report.get(), "errMsg", errorMessage(code));
    if (extra) {
        Json value = jsonParse(extra);
        if (!value) value.reset(cJSON_CreateString(extra));
        if (cJSON_AddItemToObject(report.get(), "extra", value.get())) value.release();
    }
    return jsonPrint(report.get());
}

void publishError(void *node, ErrorCode code)
{
    HeapText report = errorReport(code, nullptr);
    if (report) publishText(node, topics::kError, report.get());
}

void publishOrHoldError(void *node, HeldReports *held, ErrorCode code)
{
    if (node) {
        publishError(node, code);
    } else {
        held->push_back(code);
    }
}

void publishHeldErrors(void *node, HeldReports *held)
{
    for (ErrorCode code : *held)
        publishError(node, code);
    held->clear();
}

} // namespace vantel
