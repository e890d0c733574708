/** @file
 * The codes of VANTEL_EVENT_ERROR, member "errId".
 *
 * Those marked + are reported by members of the bus from outside the library, with the message in
 * quotes; the others are its own. docs/errors.md tells cause and remedy of each.
 */
#ifndef VANTEL_ERRORS_H
#define VANTEL_ERRORS_H

/** Error codes. A group has a hundred codes and begins with one that ends in 99. */
enum {
    /* Recognition results. */
    VANTEL_ERROR_ASR_NULL = -7999, /**< + "asr is null" */
    VANTEL_ERROR_NLU_NULL = -7998, /**< + "nlu is null" */

    /* Local recogniser. */
    VANTEL_ERROR_LOCAL_ASR_CONFIDENCE = -7899, /**< A recognition below the confidence threshold. */
    VANTEL_ERROR_ASR_CORE = -7898,             /**< No recogniser could be made. */
    VANTEL_ERROR_LOCAL_ASR_LIMIT = -7897, /**< The utterance is longer than the recogniser takes. */
    VANTEL_ERROR_LOCAL_ASR_NULL = -7896,  /**< Nothing was recognised in the speech. */

    /* Dialog service, cloud recognition, settings, vocabularies and voiceprint. */
    VANTEL_ERROR_DM_TIMEOUT = -7799,           /**< No reply came in "dmTimeOut". */
    VANTEL_ERROR_DM_UNREACHABLE = -7798,       /**< + "dm network unreachable" */
    VANTEL_ERROR_CLOUD_ASR_CONFIDENCE = -7797, /**< + "cloud asr out of confidence boundary" */
    /** No reply came within 10 s of a question to the host (1014). */
    VANTEL_ERROR_SKILL_TIMEOUT = -7796,
    /** Only in the log: the host did not answer 1014. */
    VANTEL_ERROR_NATIVE_API_UNANSWERED = -7795,
    VANTEL_ERROR_CLOUD_ASR_TIMEOUT = -7794,      /**< -7799 of an instance with "asrRes". */
    VANTEL_ERROR_SKILL_SETTINGS_PARAMS = -7793,  /**< + "skill settings params not enough" */
    VANTEL_ERROR_SKILL_SETTINGS_FORMAT = -7792,  /**< + "skill settings params format error" */
    VANTEL_ERROR_SYSTEM_SETTINGS_PARAMS = -7791, /**< + "system settings params not enough" */
    VANTEL_ERROR_SYSTEM_SETTINGS_FORMAT = -7790, /**< + "system settings params format error" */
    VANTEL_ERROR_SETTINGS_BUSY = -7789,       /**< + "getting system or skill settings is busy" */
    VANTEL_ERROR_CONTEXT_SYNC_PARAMS = -7788, /**< + "context sync params not enough" */
    /** + "context sync params format error, should be json" */
    VANTEL_ERROR_CONTEXT_SYNC_FORMAT = -7787,
    VANTEL_ERROR_ASR_AUDIO = -7786,             /**< + "input asr audio error" */
    VANTEL_ERROR_INPUT_LOGIC = -7785,           /**< + "input text or trigger intent logic error" */
    VANTEL_ERROR_LASR_UPLOAD_LOGIC = -7784,     /**< + "lasr upload file logic error" */
    VANTEL_ERROR_UNKNOWN_LOGIC = -7783,         /**< + "unknown logic error" */
    VANTEL_ERROR_TRIGGER_INTENT_PARAMS = -7782, /**< + "trigger intent params not enough" */
    VANTEL_ERROR_LASR_NOT_CONNECTED = -7781,    /**< + "lasr not connect" */
    VANTEL_ERROR_FULL_DUPLEX_DM_TIMEOUT = -7780,     /**< + "fulldulpx dm neteork timeout" */
    VANTEL_ERROR_DM_SERVER_ABORT = -7779,            /**< + "dm server abort error" */
    VANTEL_ERROR_USER_NETWORK_ABORT = -7778,         /**< + "user network abort" */
    VANTEL_ERROR_USER_LASR_ABORT = -7777,            /**< + "user lasr network abort" */
    VANTEL_ERROR_VPR_REGISTER_UNREACHABLE = -7776,   /**< + "vpr register network unreachable" */
    VANTEL_ERROR_VPR_UNREGISTER_UNREACHABLE = -7775, /**< + "vpr unregister network unreachable" */
    VANTEL_ERROR_VPR_VERIFY_UNREACHABLE = -7774,     /**< + "vpr verify network unreachable" */
    VANTEL_ERROR_VPR_REGISTER_RESPONSE = -7773,      /**< + "vpr resgister: http response wrong" */
    VANTEL_ERROR_VPR_UNREGISTER_RESPONSE = -7772, /**< + "vpr unresgister: http response wrong" */
    VANTEL_ERROR_VPR_VERIFY_RESPONSE = -7771,     /**< + "vpr verify: http response wrong" */
    VANTEL_ERROR_VPR_REGISTER_TIMEOUT = -7770,    /**< + "vpr resgister: timeout" */
    VANTEL_ERROR_VPR_UNREGISTER_TIMEOUT = -7769,  /**< + "vpr unresgister: timeout" */
    VANTEL_ERROR_VPR_VERIFY_TIMEOUT = -7768,      /**< + "vpr verify: timeout" */
    VANTEL_ERROR_CDM_NETWORK = -7767,             /**< + "cdm unknown network error" */
    VANTEL_ERROR_UNKNOWN_MODULE_TIMEOUT = -7766,  /**< + "unknown module network timeout error" */
    VANTEL_ERROR_UNKNOWN_MODULE_PARAMS = -7765,   /**< + "unknown module input params error" */
    VANTEL_ERROR_LASR_FILE_RESPONSE = -7764,      /**< + "lasr file server response error" */
    VANTEL_ERROR_LASR_REALTIME_RESPONSE = -7763, /**< + "lasr realtimeback server response error" */
    /** + "allchain asr or vpr or dm result invalid response format, must be json" */
    VANTEL_ERROR_CHAIN_RESPONSE_NOT_JSON = -7762,
    /** + "unknown module server response format error" */
    VANTEL_ERROR_UNKNOWN_MODULE_RESPONSE = -7761,
    VANTEL_ERROR_CHAIN_ASR_RESPONSE = -7760, /**< + "allchain asr response error" */
    /** + "allchain asr or dm response not sessionId or eof or shouldEndSession" */
    VANTEL_ERROR_CHAIN_RESPONSE_MEMBERS = -7759,
    /** + "invalid response format error, asrplus speakerLabels must be json array" */
    VANTEL_ERROR_ASRPLUS_SPEAKER_LABELS = -7758,
    VANTEL_ERROR_ASRPLUS_SERVER = -7757,     /**< + "asrplus server error" */
    VANTEL_ERROR_PURE_ASR_NO_RESULT = -7756, /**< + "pure asr server response not eof or result" */
    VANTEL_ERROR_PURE_ASR_NO_TEXT = -7755,   /**< + "pure asr server response not var or rec" */
    VANTEL_ERROR_VOCABS_UPDATE_TIMEOUT = -7754, /**< + "update vocabs network timeout" */
    VANTEL_ERROR_VOCABS_GET_TIMEOUT = -7753,    /**< + "get vocabs network timeout" */
    VANTEL_ERROR_VOCABS_UPDATE = -7752,         /**< + "update vocabs failed" */
    VANTEL_ERROR_VOCABS_GET = -7751,            /**< + "get vocabs failed" */
    /** + "vocabs params not enough, not vocabName or operation" */
    VANTEL_ERROR_VOCABS_PARAMS = -7750,
    /** + "update vocabs params not enough, not vocabMode or vocabContent" */
    VANTEL_ERROR_VOCABS_UPDATE_PARAMS = -7749,
    VANTEL_ERROR_VOCABS_GET_PARAMS = -7748, /**< + "get vocabs params not enough, not cinfo" */
    /** + "set system settings params not enough, not operate or settings" */
    VANTEL_ERROR_SET_SYSTEM_SETTINGS_PARAMS = -7747,
    /** + "get system or skill settings result format error, must be json array" */
    VANTEL_ERROR_GET_SETTINGS_FORMAT = -7746,
    /** + "set skill settings params not enough, not operate or settings or skillId" */
    VANTEL_ERROR_SET_SKILL_SETTINGS_PARAMS = -7745,
    VANTEL_ERROR_LASR_WS_ABORT = -7744,           /**< + "lasr ws server abort error" */
    VANTEL_ERROR_LASR_HTTP_ABORT = -7743,         /**< + "lasr http server abort error" */
    VANTEL_ERROR_CDM_TTS_STREAM = -7742,          /**< + "cdm stream tts data error" */
    VANTEL_ERROR_VPR_REGISTER_PROGRESS = -7741,   /**< + "vpr register progress error" */
    VANTEL_ERROR_VPR_UNREGISTER_PROGRESS = -7740, /**< + "vpr unregister progress error" */
    VANTEL_ERROR_VPR_VERIFY_PROGRESS = -7739,     /**< + "vpr verify progress error" */

    /* User account authorisation. */
    /** + "oauth need params of refreshTokenFile clientId userId codeVerifier authCode" */
    VANTEL_ERROR_OAUTH_PARAMS = -7697,
    VANTEL_ERROR_OAUTH_REFRESH_TOKEN = -7696,   /**< + "get refresh token failed" */
    VANTEL_ERROR_OAUTH_NO_ACCESS_TOKEN = -7695, /**< + "not access token" */
    VANTEL_ERROR_OAUTH_TOKEN_EXPIRED = -7693,   /**< + "refresh token is expired" */

    /* Local speech output. */
    VANTEL_ERROR_LOCAL_TTS_RESOURCE = -7599, /**< + "ltts resoure error" */
    VANTEL_ERROR_LOCAL_TTS_SSML = -7598,     /**< + "ltts not support ssml" */

    /* Cloud speech output. */
    VANTEL_ERROR_CLOUD_TTS_TIMEOUT = -7499,     /**< + "ctts network timeout" */
    VANTEL_ERROR_CLOUD_TTS_UNREACHABLE = -7498, /**< + "ctts network unreachable" */
    VANTEL_ERROR_CLOUD_TTS_USAGE = -7497,       /**< + "ctts Insufficient usage or invalid error" */
    VANTEL_ERROR_CLOUD_TTS_CLOSED = -7496,      /**< + "tts closed by peer" */
    VANTEL_ERROR_CLOUD_TTS_VOICE_COPY = -7495,  /**< + "tts voicecopy server response error" */

    /* Voice activity and signal-to-noise measurement. */
    VANTEL_ERROR_VAD_CORE = -7399,       /**< No speech detector could be made. */
    VANTEL_ERROR_SNR_CONFIDENCE = -7398, /**< The signal-to-noise ratio is below the threshold. */
    /** The ratio cannot be computed: one side is digital silence. */
    VANTEL_ERROR_SNR_CORE = -7397,
    VANTEL_ERROR_VPR_RUNTIME_CORE = -7396, /**< + "local vprRuntime core error" */
    VANTEL_ERROR_SNR_NO_VOICE = -7395,     /**< The turn ended without speech. */
    VANTEL_ERROR_SNR_NO_SILENCE = -7394, /**< No audio from before the speech to compare it with. */

    /* Wakeup words. */
    VANTEL_ERROR_WAKEUP_CORE = -7299,            /**< + "wakeup core error" */
    VANTEL_ERROR_WAKEUP_WORDS_NOT_JSON = -7298,  /**< + "wakeup set words params not json" */
    VANTEL_ERROR_WAKEUP_WORDS_NOT_ARRAY = -7297, /**< + "wakeup set words params not json array" */
    VANTEL_ERROR_WAKEUP_CONFIG_NOT_JSON = -7296, /**< + "wakeup config not json" */
    VANTEL_ERROR_EVALUATE_NOT_ARRAY = -7295, /**< + "evaluate wakeupWords params not json array" */
    VANTEL_ERROR_EVALUATE_COUNT = -7294,     /**< + "evaluate wakeupWords count must 3<=Num<= 5" */
    VANTEL_ERROR_EVALUATE_BLACKLIST = -7293, /**< + "evaluate wakeupWords in blackList" */
    /** + "evaluate wakeupWords error, due to pinyin repeat too much" */
    VANTEL_ERROR_EVALUATE_REPEATED_PINYIN = -7292,
    /** + "evaluate wakeupWords error, due to nonInital too much" */
    VANTEL_ERROR_EVALUATE_NO_INITIAL = -7291,
    /** + "evaluate wakeupWords error, due to low freq pinyin too much" */
    VANTEL_ERROR_EVALUATE_RARE_PINYIN = -7290,
    /** + "evaluate wakeupWords getting score less than six, check closeMouth or oral or noInital or
     * not using ABB,BBA,ABA,ABBA and so on" */
    VANTEL_ERROR_EVALUATE_SCORE = -7289,
    /** The wake word gives no tails to look for in the text. */
    VANTEL_ERROR_WAKEUP_WORD_TAILS = -7288,

    /* Grammar. */
    VANTEL_ERROR_GRAM_CORE = -7199, /**< No grammar compiler could be made. */

    /* Companion device. */
    VANTEL_ERROR_QX_DOWNLOAD = -7099,        /**< + "qx download error" */
    VANTEL_ERROR_QX_DFU = -7098,             /**< + "qx dfu error" */
    VANTEL_ERROR_QX_CHECK = -7097,           /**< + "qx check device error" */
    VANTEL_ERROR_QX_CHECK_PARAMS = -7096,    /**< + "qx check device not params" */
    VANTEL_ERROR_QX_CHECK_FORMAT = -7095,    /**< + "qx check device params format error" */
    VANTEL_ERROR_QX_RESET = -7094,           /**< + "qx reset error" */
    VANTEL_ERROR_QX_SET_INFO_FORMAT = -7093, /**< + "qx set info params format error" */
    VANTEL_ERROR_QX_GET_INFO_FORMAT = -7092, /**< + "qx get info params format error" */
    VANTEL_ERROR_QX_RESET_NOT_FOUND = -7091, /**< + "qx reset not find device" */
    /** + "qx reset open device error, not permission or busy" */
    VANTEL_ERROR_QX_RESET_BUSY = -7090,
    VANTEL_ERROR_QX_CHECK_NOT_FOUND = -7089, /**< + "qx check not find device" */
    /** + "qx check and open device error, not permission or busy" */
    VANTEL_ERROR_QX_CHECK_BUSY = -7088,
    VANTEL_ERROR_QX_DOWNLOAD_NOT_FOUND = -7087, /**< + "qx download not find device" */
    /** + "qx download open device error, not permission or busy" */
    VANTEL_ERROR_QX_DOWNLOAD_BUSY = -7086,
    VANTEL_ERROR_QX_DFU_NOT_FOUND = -7085, /**< + "qx dfu not find device" */
    VANTEL_ERROR_QX_DFU_BUSY = -7084, /**< + "qx dfu open device error, not permission or busy" */
    VANTEL_ERROR_QX_MODE_NOT_FOUND = -7083, /**< + "qx change mode not find device" */
    /** + "qx change mode open device error, not permission or busy" */
    VANTEL_ERROR_QX_MODE_BUSY = -7082,
    VANTEL_ERROR_QX_MODE = -7081,        /**< + "qx change mode error" */
    VANTEL_ERROR_QX_INFO_PARAMS = -7080, /**< + "qx operate info not params" */
    VANTEL_ERROR_QX_INFO_FORMAT = -7079, /**< + "qx operate info params format error" */
    VANTEL_ERROR_QX_INFO = -7078,        /**< + "qx operate info error" */

    /* Audio driver. */
    VANTEL_ERROR_AUDIO_DRIVER = -6999, /**< + "alsa driver error, need restart card or system" */

    /* Parameters. */
    VANTEL_ERROR_PARAMS = -6899, /**< Parameters of a request are invalid; "extra" says how. */
};

#endif
