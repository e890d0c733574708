// Error codes, their texts, and the reports made of them.
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
    {VANTEL_ERROR_ASR_NULL, "asr is null"},
    {VANTEL_ERROR_NLU_NULL, "nlu is null"},
    // Local recogniser.
    {VANTEL_ERROR_LOCAL_ASR_CONFIDENCE, "local asr out of confidence boundary"},
    {VANTEL_ERROR_ASR_CORE, "asr core error"},
    {VANTEL_ERROR_LOCAL_ASR_LIMIT, "local asr exceedlimit"},
    {VANTEL_ERROR_LOCAL_ASR_NULL, "local asr is null"},
    // Dialog service, cloud recognition, settings, vocabularies and voiceprint.
    {VANTEL_ERROR_DM_TIMEOUT, "dm network timeout"},
    {VANTEL_ERROR_DM_UNREACHABLE, "dm network unreachable"},
    {VANTEL_ERROR_CLOUD_ASR_CONFIDENCE, "cloud asr out of confidence boundary"},
    {VANTEL_ERROR_SKILL_TIMEOUT, "skills response timeout"},
    {VANTEL_ERROR_NATIVE_API_UNANSWERED, "native api need feed back to server"},
    {VANTEL_ERROR_CLOUD_ASR_TIMEOUT, "cloud asr server timeout"},
    {VANTEL_ERROR_SKILL_SETTINGS_PARAMS, "skill settings params not enough"},
    {VANTEL_ERROR_SKILL_SETTINGS_FORMAT, "skill settings params format error"},
    {VANTEL_ERROR_SYSTEM_SETTINGS_PARAMS, "system settings params not enough"},
    {VANTEL_ERROR_SYSTEM_SETTINGS_FORMAT, "system settings params format error"},
    {VANTEL_ERROR_SETTINGS_BUSY, "getting system or skill settings is busy"},
    {VANTEL_ERROR_CONTEXT_SYNC_PARAMS, "context sync params not enough"},
    {VANTEL_ERROR_CONTEXT_SYNC_FORMAT, "context sync params format error, should be json"},
    {VANTEL_ERROR_ASR_AUDIO, "input asr audio error"},
    {VANTEL_ERROR_INPUT_LOGIC, "input text or trigger intent logic error"},
    {VANTEL_ERROR_LASR_UPLOAD_LOGIC, "lasr upload file logic error"},
    {VANTEL_ERROR_UNKNOWN_LOGIC, "unknown logic error"},
    {VANTEL_ERROR_TRIGGER_INTENT_PARAMS, "trigger intent params not enough"},
    {VANTEL_ERROR_LASR_NOT_CONNECTED, "lasr not connect"},
    {VANTEL_ERROR_FULL_DUPLEX_DM_TIMEOUT, "fulldulpx dm neteork timeout"},
    {VANTEL_ERROR_DM_SERVER_ABORT, "dm server abort error"},
    {VANTEL_ERROR_USER_NETWORK_ABORT, "user network abort"},
    {VANTEL_ERROR_USER_LASR_ABORT, "user lasr network abort"},
    {VANTEL_ERROR_VPR_REGISTER_UNREACHABLE, "vpr register network unreachable"},
    {VANTEL_ERROR_VPR_UNREGISTER_UNREACHABLE, "vpr unregister network unreachable"},
    {VANTEL_ERROR_VPR_VERIFY_UNREACHABLE, "vpr verify network unreachable"},
    {VANTEL_ERROR_VPR_REGISTER_RESPONSE, "vpr resgister: http response wrong"},
    {VANTEL_ERROR_VPR_UNREGISTER_RESPONSE, "vpr unresgister: http response wrong"},
    {VANTEL_ERROR_VPR_VERIFY_RESPONSE, "vpr verify: http response wrong"},
    {VANTEL_ERROR_VPR_REGISTER_TIMEOUT, "vpr resgister: timeout"},
    {VANTEL_ERROR_VPR_UNREGISTER_TIMEOUT, "vpr unresgister: timeout"},
    {VANTEL_ERROR_VPR_VERIFY_TIMEOUT, "vpr verify: timeout"},
    {VANTEL_ERROR_CDM_NETWORK, "cdm unknown network error"},
    {VANTEL_ERROR_UNKNOWN_MODULE_TIMEOUT, "unknown module network timeout error"},
    {VANTEL_ERROR_UNKNOWN_MODULE_PARAMS, "unknown module input params error"},
    {VANTEL_ERROR_LASR_FILE_RESPONSE, "lasr file server response error"},
    {VANTEL_ERROR_LASR_REALTIME_RESPONSE, "lasr realtimeback server response error"},
    {VANTEL_ERROR_CHAIN_RESPONSE_NOT_JSON,
     "allchain asr or vpr or dm result  invalid response format, must be json"},
    {VANTEL_ERROR_UNKNOWN_MODULE_RESPONSE, "unknown module server response format error"},
    {VANTEL_ERROR_CHAIN_ASR_RESPONSE, "allchain asr response error"},
    {VANTEL_ERROR_CHAIN_RESPONSE_MEMBERS,
     "allchain asr or dm response not sessionId or eof or shouldEndSession"},
    {VANTEL_ERROR_ASRPLUS_SPEAKER_LABELS,
     "invalid response format error, asrplus speakerLabels must be json array"},
    {VANTEL_ERROR_ASRPLUS_SERVER, "asrplus server error"},
    {VANTEL_ERROR_PURE_ASR_NO_RESULT, "pure asr server response not eof or result"},
    {VANTEL_ERROR_PURE_ASR_NO_TEXT, "pure asr server response not var or rec"},
    {VANTEL_ERROR_VOCABS_UPDATE_TIMEOUT, "update vocabs network timeout"},
    {VANTEL_ERROR_VOCABS_GET_TIMEOUT, "get vocabs network timeout"},
    {VANTEL_ERROR_VOCABS_UPDATE, "update vocabs failed"},
    {VANTEL_ERROR_VOCABS_GET, "get vocabs failed"},
    {VANTEL_ERROR_VOCABS_PARAMS, "vocabs params not enough, not vocabName or operation"},
    {VANTEL_ERROR_VOCABS_UPDATE_PARAMS,
     "update vocabs params not enough, not vocabMode or vocabContent"},
    {VANTEL_ERROR_VOCABS_GET_PARAMS, "get vocabs params not enough, not cinfo"},
    {VANTEL_ERROR_SET_SYSTEM_SETTINGS_PARAMS,
     "set system settings params not enough, not operate or settings"},
    {VANTEL_ERROR_GET_SETTINGS_FORMAT,
     "get system or skill settings result format error, must be json array"},
    {VANTEL_ERROR_SET_SKILL_SETTINGS_PARAMS,
     "set skill settings  params not enough, not  operate or settings or skillId"},
    {VANTEL_ERROR_LASR_WS_ABORT, "lasr ws server abort error"},
    {VANTEL_ERROR_LASR_HTTP_ABORT, "lasr http server abort error"},
    {VANTEL_ERROR_CDM_TTS_STREAM, "cdm stream tts data error"},
    {VANTEL_ERROR_VPR_REGISTER_PROGRESS, "vpr register progress error"},
    {VANTEL_ERROR_VPR_UNREGISTER_PROGRESS, "vpr unregister progress error"},
    {VANTEL_ERROR_VPR_VERIFY_PROGRESS, "vpr verify progress error"},
    // User account authorisation.
    {VANTEL_ERROR_OAUTH_PARAMS,
     "oauth need params of refreshTokenFile clientId userId codeVerifier authCode"},
    {VANTEL_ERROR_OAUTH_REFRESH_TOKEN, "get refresh token failed"},
    {VANTEL_ERROR_OAUTH_NO_ACCESS_TOKEN, "not access token"},
    {VANTEL_ERROR_OAUTH_TOKEN_EXPIRED, "refresh token is expired"},
    // Local speech output.
    {VANTEL_ERROR_LOCAL_TTS_RESOURCE, "ltts resoure error"},
    {VANTEL_ERROR_LOCAL_TTS_SSML, "ltts not support ssml"},
    // Cloud speech output.
    {VANTEL_ERROR_CLOUD_TTS_TIMEOUT, "ctts network timeout"},
    {VANTEL_ERROR_CLOUD_TTS_UNREACHABLE, "ctts network unreachable"},
    {VANTEL_ERROR_CLOUD_TTS_USAGE, "ctts Insufficient usage or invalid error"},
    {VANTEL_ERROR_CLOUD_TTS_CLOSED, "tts closed by peer"},
    {VANTEL_ERROR_CLOUD_TTS_VOICE_COPY, "tts voicecopy server response error"},
    // Voice activity and signal-to-noise measurement.
    {VANTEL_ERROR_VAD_CORE, "vad core error"},
    {VANTEL_ERROR_SNR_CONFIDENCE, "local snr out of confidence boundary"},
    {VANTEL_ERROR_SNR_CORE, "snr core error"},
    {VANTEL_ERROR_VPR_RUNTIME_CORE, "local vprRuntime core error"},
    {VANTEL_ERROR_SNR_NO_VOICE, "snr error, due to not voice"},
    {VANTEL_ERROR_SNR_NO_SILENCE, "snr error, due to not silence"},
    // Wakeup words.
    {VANTEL_ERROR_WAKEUP_CORE, "wakeup core error"},
    {VANTEL_ERROR_WAKEUP_WORDS_NOT_JSON, "wakeup set words params not json"},
    {VANTEL_ERROR_WAKEUP_WORDS_NOT_ARRAY, "wakeup set words params not json array"},
    {VANTEL_ERROR_WAKEUP_CONFIG_NOT_JSON, "wakeup config not json"},
    {VANTEL_ERROR_EVALUATE_NOT_ARRAY, "evaluate wakeupWords params not json array"},
    {VANTEL_ERROR_EVALUATE_COUNT, "evaluate wakeupWords count must 3<=Num<= 5"},
    {VANTEL_ERROR_EVALUATE_BLACKLIST, "evaluate wakeupWords in blackList"},
    {VANTEL_ERROR_EVALUATE_REPEATED_PINYIN,
     "evaluate wakeupWords error, due to pinyin repeat too much"},
    {VANTEL_ERROR_EVALUATE_NO_INITIAL, "evaluate wakeupWords error, due to nonInital too much"},
    {VANTEL_ERROR_EVALUATE_RARE_PINYIN,
     "evaluate wakeupWords error, due to low freq pinyin too much"},
    {VANTEL_ERROR_EVALUATE_SCORE,
     "evaluate wakeupWords getting score less than six, check closeMouth or oral or "
     "noInital or not using ABB,BBA,ABA,ABBA and so on"},
    {VANTEL_ERROR_WAKEUP_WORD_TAILS,
     "wakeupWords must chinese when using oneshot or must set words subsets"},
    // Grammar.
    {VANTEL_ERROR_GRAM_CORE, "gram core error"},
    // Companion device.
    {VANTEL_ERROR_QX_DOWNLOAD, "qx download error"},
    {VANTEL_ERROR_QX_DFU, "qx dfu error"},
    {VANTEL_ERROR_QX_CHECK, "qx check device error"},
    {VANTEL_ERROR_QX_CHECK_PARAMS, "qx check device not params"},
    {VANTEL_ERROR_QX_CHECK_FORMAT, "qx check device params format error"},
    {VANTEL_ERROR_QX_RESET, "qx reset error"},
    {VANTEL_ERROR_QX_SET_INFO_FORMAT, "qx set info params format error"},
    {VANTEL_ERROR_QX_GET_INFO_FORMAT, "qx get info params format error"},
    {VANTEL_ERROR_QX_RESET_NOT_FOUND, "qx reset not find device"},
    {VANTEL_ERROR_QX_RESET_BUSY, "qx reset open device error, not permission or busy"},
    {VANTEL_ERROR_QX_CHECK_NOT_FOUND, "qx check not find device"},
    {VANTEL_ERROR_QX_CHECK_BUSY, "qx check and open device error, not permission or busy"},
    {VANTEL_ERROR_QX_DOWNLOAD_NOT_FOUND, "qx download not find device"},
    {VANTEL_ERROR_QX_DOWNLOAD_BUSY, "qx download open device error, not permission or busy"},
    {VANTEL_ERROR_QX_DFU_NOT_FOUND, "qx dfu not find device"},
    {VANTEL_ERROR_QX_DFU_BUSY, "qx dfu open device error, not permission or busy"},
    {VANTEL_ERROR_QX_MODE_NOT_FOUND, "qx change mode not find device"},
    {VANTEL_ERROR_QX_MODE_BUSY, "qx change mode open device error, not permission or busy"},
    {VANTEL_ERROR_QX_MODE, "qx change mode error"},
    {VANTEL_ERROR_QX_INFO_PARAMS, "qx operate info not params"},
    {VANTEL_ERROR_QX_INFO_FORMAT, "qx operate info params format error"},
    {VANTEL_ERROR_QX_INFO, "qx operate info error"},
    // Audio driver.
    {VANTEL_ERROR_AUDIO_DRIVER, "alsa driver error, need restart card or system"},
    // Parameters.
    {VANTEL_ERROR_PARAMS, "params err"},
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
        jsonAdd(report.get(), "extra", std::move(value));
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
