/** @file
 * vantel: spoken interaction for a host application.
 *
 * The host initialises the library once, makes one instance per conversation, feeds it microphone
 * audio or typed requests, and receives everything that happens through one callback.
 *
 * Conventions, once for all functions:
 *
 * 1. Texts are zero-terminated UTF-8; structured ones are JSON. A text counts as JSON when it
 *    begins with a complete JSON value, and what follows that value is ignored. Object keys match
 *    without regard to letter case.
 * 2. Audio is 16 kHz, 16-bit signed little-endian, mono PCM without a header: 32 bytes are one
 *    millisecond. Lengths are bytes.
 * 3. Every argument is copied before the function returns; the host keeps what it passed in.
 * 4. The operations return 0 when the request was passed on, or was ignored because the
 *    configuration leaves that device to the library (the log says so); -1 when it was refused.
 *    Invalid parameters are also reported with VANTEL_EVENT_ERROR, code VANTEL_ERROR_PARAMS, except
 *    those of vantelStopDialogParams and of the functions that feed. What follows from a request
 *    that was passed on arrives as events.
 * 5. vantelInit, vantelNew, vantelDelete and vantelRelease must not overlap each other. Operations
 *    may come from any thread, from several at once, and from inside the callback, between the
 *    return of vantelNew and the call of vantelDelete; vantelDelete says what holds of those that
 *    meet it. They return without waiting for the request to be handled. Requests of one thread
 *    are handled in their order, but audio takes a shorter way than the start of a turn and may
 *    overtake it: feed a turn after VANTEL_EVENT_RECORDER with "operation" "start", or all the
 *    time. What comes before that event is not listened to.
 * 6. A null handle is refused with -1 by every operation.
 */
#ifndef VANTEL_VANTEL_H
#define VANTEL_VANTEL_H

#include "errors.h"

#include <stdint.h>

/** Marks the functions of the library. */
#if defined(_WIN32)
#if defined(VANTEL_BUILDING)
#define VANTEL_API
#else
#define VANTEL_API __declspec(dllimport)
#endif
#else
#define VANTEL_API __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** What the data of a callback is. */
enum {
    VANTEL_TYPE_JSON = 101,       /**< JSON text */
    VANTEL_TYPE_PCM = 102,        /**< audio */
    VANTEL_TYPE_DEVICE_INFO = 103 /**< binary information of the companion device; reserved */
};

/** What happened. The data is JSON unless the comment says otherwise. An answer is used only where
 * the comment says how; any other answer is just freed. Events that a bus member outside this
 * library originates are marked +; they come only when such a member is present. docs/events.md
 * has every payload and the order of a turn. */
enum {
    /** + The wake word was heard. An answer takes the place of the result; {"ignore":"true"} drops
     * it. */
    VANTEL_EVENT_WAKEUP = 1002,
    /** JSON: {"status":1,"offset":bytes,"fed":bytes} when speech began, status 2 when it ended.
     * PCM: the speech itself. From the voice activity thread. */
    VANTEL_EVENT_VAD = 1003,
    /** A recognition result; "eof" 1 marks the final one. */
    VANTEL_EVENT_ASR = 1004,
    /** The dialog's reply. An answer takes its place. */
    VANTEL_EVENT_DM_OUTPUT = 1005,
    /** {"errId":code,"errMsg":text,"extra":details, optional}, the code one of VANTEL_ERROR_...;
     * the listening turn is given up and the dialog ends, but for VANTEL_ERROR_PARAMS and the codes
     * of the companion device, VANTEL_ERROR_QX_..., which leave the status as it is. An answer
     * takes its place. */
    VANTEL_EVENT_ERROR = 1006,
    /** {"silenceLen":bytes,"voiceLen":bytes,"snr":decibels} of a listening turn. */
    VANTEL_EVENT_SNR = 1007,
    VANTEL_EVENT_DOA = 1008,         /**< + The direction that the speaker was heard from. */
    VANTEL_EVENT_VPR_RUNTIME = 1010, /**< + Who was heard. */
    /** {"operation":"start" or "stop","module":"dm"}: start or stop feeding audio. */
    VANTEL_EVENT_RECORDER = 1011,
    /** {"status":"silence", "listening", "understanding" or "speaking"}: each change. */
    VANTEL_EVENT_STATUS = 1012,
    VANTEL_EVENT_COMMAND = 1013, /**< A command for the host to carry out. */
    /** + The dialog asks the host for data; the answer is what it gets. */
    VANTEL_EVENT_NATIVE_API = 1014,
    VANTEL_EVENT_SPEAK = 1015, /**< + Settings or address of speech to play. */
    /** {"operation":"start"}: start playing. {"status":"begin"}: playback began. {"status":"end"}:
     * the end that vantelNotifyTTSEnd reported is about to be handled, and the answer
     * {"ignore":"true"} prevents that. */
    VANTEL_EVENT_PLAYER = 1016,
    VANTEL_EVENT_VOCABS = 1017,          /**< + Outcome of vantelOperateVocabs. */
    VANTEL_EVENT_CINFO = 1018,           /**< + Outcome of system or skill settings. */
    VANTEL_EVENT_DEVICE_PROTOCOL = 1025, /**< Of the companion device; reserved. */
    VANTEL_EVENT_DEVICE_INFO = 1026,     /**< Of the companion device; reserved. */
    VANTEL_EVENT_DEVICE_DOA = 1027,      /**< Of the companion device; reserved. */
    VANTEL_EVENT_NETWORK = 1028,    /**< + {"status":"true" or other}. An answer takes its place. */
    VANTEL_EVENT_MEDIA = 1029,      /**< + A list of media. */
    VANTEL_EVENT_OAUTH = 1031,      /**< + The account login succeeded. */
    VANTEL_EVENT_RT_OUTPUT = 1032,  /**< + Real-time output. An answer takes its place. */
    VANTEL_EVENT_SENTENCE = 1033,   /**< + A recognised sentence. */
    VANTEL_EVENT_EVALUATION = 1034, /**< + Outcome of an evaluation of wake words. */
    VANTEL_EVENT_FACE = 1035,       /**< + What the camera images showed. */
    /** The wakeup of 1002 again: no command followed the wake word. An answer takes its place. */
    VANTEL_EVENT_ONESHOT_WAKEUP = 1036,
    VANTEL_EVENT_VPR_REGISTER = 1038,   /**< + Outcome of vantelCloudVprRegister. */
    VANTEL_EVENT_VPR_UNREGISTER = 1039, /**< + Outcome of vantelCloudVprUnregister. */
    VANTEL_EVENT_VPR_VERIFY = 1040,     /**< + Outcome of vantelCloudVprVerify. */
    VANTEL_EVENT_VPR_ASR = 1041,        /**< + A recognition result with its speaker. */
    /** PCM: the silence, then the voice, that the 1007 of the same turn compares. From the voice
     * activity thread, both before that 1007. */
    VANTEL_EVENT_SNR_SILENCE = 1042,
    VANTEL_EVENT_SNR_VOICE = 1043, /**< PCM: see VANTEL_EVENT_SNR_SILENCE. */
    /** {"reason":"not dm output"}: a full-duplex turn stays open. */
    VANTEL_EVENT_NO_OUTPUT = 1044
};

/** Tells the host what happened.
 *
 * It runs on the instance's processor thread and, for 1003, 1042 and 1043, on its voice activity
 * thread; the two may overlap. The callback may call operations; vantelDelete of its own instance
 * is refused. While it runs, its thread handles nothing else, so it should return soon.
 *
 * @param user    what was given to vantelNew.
 * @param data    `length` bytes that belong to the library and are valid during the call; null with
 *                length 0 when the event has none. A zero byte may follow them, but `length`
 * decides.
 * @param length  bytes.
 * @param type    VANTEL_TYPE_...
 * @param event   VANTEL_EVENT_...
 * @return null, or an answer: a zero-terminated text from malloc, which the library frees with
 * free. On Windows host and library must share the C runtime for that. */
typedef char *(*HostCallback)(void *user, const void *data, uint32_t length, int32_t type,
                              int32_t event);

/** Sets the library up for the process: log, then speech engine. Before the first vantelNew.
 *
 * @param configuration a JSON object:
 * - "level" (number, default 2): 1 verbose, 2 debug, 3 info, 4 warning, 5 error; lower levels are
 *   not logged.
 * - "logDirPath" (string): the log is "cache/log/vantel.log" below it, made with missing parents.
 *   Without it, the log goes to standard output.
 * - "mode" (number, default 0): the log file starts afresh; any other: it is appended to.
 * - "size" (number, default 20): megabytes at which the log file starts afresh; 0: no limit.
 *
 * The speech engine receives all members.
 * @return 0; -1 for a null configuration (nothing happens) or one that is not JSON (the log goes to
 *         standard output); else the speech engine's error code, and instances then have no local
 *         speech.
 *
 * A second call replaces the configuration; an open log stays as it is but for its level. */
VANTEL_API int32_t vantelInit(const char *configuration);

/** Undoes vantelInit, after the last vantelDelete. Returns 0, also without a vantelInit. */
VANTEL_API int32_t vantelRelease(void);

/** Makes an instance and starts its five threads; returns once it takes requests.
 *
 * @param params the instance's configuration, a JSON object; all members are optional. Switches are
 * on only as the string "true".
 * - "homePath": directory, at most 255 bytes: keys and captures are kept in "cache" below it.
 * - "timerClickMs" (number, default 3): granularity of the timers, milliseconds.
 * - "audioLimit" (number, default 60000): milliseconds of fed audio that may wait; see
 *   vantelFeedData.
 * - "deviceId" (string): part of the names of captures.
 * - "recorder", "cntts", "player", "camera" (objects): "mode" "external" leaves recording, speech
 *   output, playing or the camera to the host.
 * - "extendsp", "face" (objects): "enable" "true" passes those requests on.
 * - "vad", "asr", "gram", "wakeup", "oneshot", "fullDuplex", ...: the dialog and the speech engine;
 *   docs/configuration.md has them all.
 *
 * Not read at all without a stored configuration (no vantelInit): the instance then has defaults
 * only.
 * @param callback receives the events; null: there are none.
 * @param user handed to the callback.
 * @return the handle, or null when params are null or not JSON, or memory runs out. When the bus
 *         cannot be made the handle is that of an instance that refuses every operation. When the
 *         system has no thread, or a node no memory of its own, the instance goes on without that
 *         part, which the log names: without its agent or its processor it refuses every operation;
 *         without its detector or its local dialog each listening turn ends with
 *         VANTEL_ERROR_VAD_CORE or VANTEL_ERROR_ASR_CORE. */
VANTEL_API void *vantelNew(const char *params, HostCallback callback, void *user);

/** Stops the instance's threads and frees it; waits for callbacks under way, and none comes
 * afterwards. A null handle does nothing.
 *
 * Operations may meet it: those that have begun are carried out first; those that begin while it
 * runs are refused with -1. So operations from inside the callback are safe at any time. Other
 * threads must not begin one once the instance's threads have ended, which is shortly before this
 * returns: the handle's memory is freed then. What they must not do, they do not when they are told
 * to stop before this is called.
 * @return 0; -1, logged, with nothing done, from inside the instance's own callback (whose thread
 *         would wait for its own end) and while another one is under way. A callback must not wait
 *         for a thread that is in here, either. */
VANTEL_API int32_t vantelDelete(void *handle);

/** Replaces the wake words: [{"wakeupWord":text,"pinyin":text,"thresh":text,"type":text}, ...],
 * each member a non-empty string; the array may be empty. -1: invalid. */
VANTEL_API int32_t vantelSetWakeupWords(void *handle, const char *params);

/** Turns wakeup by the wake word on. */
VANTEL_API int32_t vantelEnableWakeup(void *handle);
/** Turns wakeup by the wake word off. */
VANTEL_API int32_t vantelDisableWakeup(void *handle);

/** Checks that {"keyWords":text} is well formed: 0, or -1 when it is not. Nothing is passed on. */
VANTEL_API int32_t vantelEvaluateKeyWords(void *handle, const char *params);

/** Starts the extended signal processing; ignored unless "extendsp" is enabled. */
VANTEL_API int32_t vantelStartExtendsp(void *handle);
/** Stops the extended signal processing; ignored unless "extendsp" is enabled. */
VANTEL_API int32_t vantelStopExtendsp(void *handle);

/** Starts one turn of recognition without a dialog. In half duplex it is ignored unless the status
 * is silence. */
VANTEL_API int32_t vantelStartListening(void *handle);
/** Ends the audio of such a turn; its result follows. */
VANTEL_API int32_t vantelStopListening(void *handle);

/** Starts a dialog: the first turn listens at once. In half duplex it is ignored unless the status
 * is silence. */
VANTEL_API int32_t vantelStartDialog(void *handle);

/** Ends the dialog and its turn: the status becomes silence. */
VANTEL_API int32_t vantelStopDialog(void *handle);

/** The same with options: a JSON object, or null for none. {"keepAlive":"temporary"} keeps the
 * dialog's context for a later start. -1: not JSON. */
VANTEL_API int32_t vantelStopDialogParams(void *handle, const char *params);

/** Feeds captured audio; needs "recorder" external. Feed a turn after VANTEL_EVENT_RECORDER with
 * "operation" "start", or without a break all the time: the turn hears nothing of what comes before
 * that event, which at most becomes the pre-roll of a one-shot wakeup.
 *
 * @param handle the instance.
 * @param data   PCM; may be null only with length 0.
 * @param length bytes, 0 or more; any chunk size, with the same results, as long as the first byte
 *               that a turn hears begins a sample. Chunks of up to 20 ms (640 bytes) bring them
 *               soonest: of longer ones the begin and the end of speech may be told with the next
 *               chunk only.
 * @return 0, also when the instance records by itself (logged, nothing fed); -1: no instance,
 *         negative length, or null data with a length; and when more audio than "audioLimit" waits
 *         for the detector because a callback holds it up, or memory runs out. Nothing of the data
 *         is taken then: feed it again later, or let it go. What was accepted is never lost, other
 *         operations are not refused, and the log tells when that begins and ends and how much was
 *         refused. */
VANTEL_API int32_t vantelFeedData(void *handle, const void *data, int32_t length);

/** Takes typed text in place of speech: {"text":text, not empty}. -1: invalid. The reply comes from
 * a dialog service on the bus; where none answers in "dmTimeOut" the dialog ends with
 * VANTEL_ERROR_DM_TIMEOUT. */
VANTEL_API int32_t vantelInputText(void *handle, const char *params);

/** Asks for an intent directly: {"skill","task","intent": texts, not empty; more as the dialog
 * service takes it}. -1: invalid. The reply comes as that of vantelInputText. */
VANTEL_API int32_t vantelTriggerIntent(void *handle, const char *params);

/** Updates the dialog's context with a JSON object; null is ignored. */
VANTEL_API int32_t vantelSetContextSync(void *handle, const char *params);

/** Speaks: {"operation":"start" or
 * "stop","nlg":text,"speed":number,"volume":number,"voiceId":text}, texts not empty;
 * "privilege":"true" speaks also within a dialog. Its end comes back through vantelNotifyTTSEnd.
 * -1: invalid. */
VANTEL_API int32_t vantelSpeak(void *handle, const char *params);

/** Replaces spoken texts by recordings: [{"nlg":text,"path":text,"type":text}, ...], texts not
 * empty; the array may be empty. -1: invalid. */
VANTEL_API int32_t vantelSetCustomAudio(void *handle, const char *params);

/** Changes settings at run time, a JSON object: "snr"."confidence" (decibels) and
 * "asr"."confidence" (0 to 1) are the lowest values that are accepted. "ctts" with "operation"
 * "set" needs an array "settings" whose elements of "key" "cloudtts" have a "value" with the
 * numbers "volume", "speed", "sampleRate" and the strings "audioType", "voiceId". -1: invalid. */
VANTEL_API int32_t vantelSetParams(void *handle, const char *params);

/** Sets or gets a vocabulary: {"operation":text, not empty,"vocabName":text}; with "set" also
 * "vocabMode" text and "vocabContent" array, with "get" also "cinfo" text. -1: invalid. */
VANTEL_API int32_t vantelOperateVocabs(void *handle, const char *params);

/** Settings of the dialog service: {"operation":text, not empty,"settings":[...]}. -1: invalid. */
VANTEL_API int32_t vantelSystemSettings(void *handle, const char *params);
/** Settings of one skill: those of vantelSystemSettings and "skillId", a text. -1: invalid. */
VANTEL_API int32_t vantelSkillSettings(void *handle, const char *params);

/** Begins audio of the host's own, which the library's player plays: begin, any number of pieces,
 * end. Ignored when "cntts" or "player" is external.
 *
 * @param handle the instance.
 * @param params JSON or null; "privilege":"true" plays also within a dialog. */
VANTEL_API int32_t vantelFeedCustomTTSDataBegin(void *handle, const char *params);
/** A piece of that audio.
 *
 * @param handle the instance.
 * @param data   audio; null is ignored.
 * @param length bytes, 0 or more; -1 is returned for a negative length. */
VANTEL_API int32_t vantelFeedCustomTTSData(void *handle, const void *data, int32_t length);
/** Ends that audio. `params` is passed on; JSON or null. */
VANTEL_API int32_t vantelFeedCustomTTSDataEnd(void *handle, const char *params);

/** Says that the host has finished playing; the dialog goes on or ends then. Ignored unless "cntts"
 * or "player" is external. `params` is not read. */
VANTEL_API int32_t vantelNotifyTTSEnd(void *handle, const char *params);

/** Logs an account in at the dialog service; JSON as that takes it; null is ignored. */
VANTEL_API int32_t vantelOperateOauth(void *handle, const char *params);

/** Would look for the companion device; this build does not drive it: logged, and always -1. */
VANTEL_API int32_t vantelQXFindDevice(void *handle, const char *params);
/** As vantelQXFindDevice: a download to the device. */
VANTEL_API int32_t vantelQXDownload(void *handle, const char *params);
/** As vantelQXFindDevice: an update of its firmware. */
VANTEL_API int32_t vantelQXDFU(void *handle, const char *params);
/** As vantelQXFindDevice: a download, then an update. */
VANTEL_API int32_t vantelQXDownloadToDFU(void *handle, const char *params);
/** As vantelQXFindDevice: a reset of the device. */
VANTEL_API int32_t vantelQXReset(void *handle, const char *params);
/** As vantelQXFindDevice: texts of its own. */
VANTEL_API int32_t vantelQXSetCustomNlg(void *handle, const char *params);
/** As vantelQXFindDevice: its information. */
VANTEL_API int32_t vantelQXOperateInfo(void *handle, const char *params);

/** Starts watching for faces; ignored unless "face" is enabled. `params` is not read. */
VANTEL_API int32_t vantelStartFace(void *handle, const char *params);
/** Stops watching for faces; ignored unless "face" is enabled. `params` is not read. */
VANTEL_API int32_t vantelStopFace(void *handle, const char *params);

/** Feeds a camera image; ignored unless "face" is enabled and "camera" external, or when length is
 * below 1.
 *
 * @param handle the instance.
 * @param data   the image, `length` bytes.
 * @param length bytes.
 * @param first  goes ahead of it as it is, as `second` and `third` do, such as width, height and
 *               format; their meaning is the face engine's.
 * @param second see `first`.
 * @param third  see `first`. */
VANTEL_API int32_t vantelFeedImage(void *handle, const void *data, int32_t length, uint32_t first,
                                   uint32_t second, uint32_t third);

/** Registers a speaker at the dialog service; JSON as that takes it, or null. */
VANTEL_API int32_t vantelCloudVprRegister(void *handle, const char *params);
/** Forgets a speaker at the dialog service; JSON as that takes it, or null. */
VANTEL_API int32_t vantelCloudVprUnregister(void *handle, const char *params);
/** Verifies a speaker at the dialog service; JSON as that takes it, or null. */
VANTEL_API int32_t vantelCloudVprVerify(void *handle, const char *params);

#ifdef __cplusplus
}
#endif

#endif
