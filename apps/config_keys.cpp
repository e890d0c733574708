#include "apps/config_keys.h"

namespace vantel::app
{
namespace
{

using enum KeyKind;

constexpr std::string_view kExternal = "external internal";
constexpr std::string_view kExternalText = "\"external\"";
constexpr std::string_view kOn = "\"true\"";
constexpr std::string_view kGrammar =
    R"("#JSGF V1.0; grammar home; public <c> = light on {\"dm\":{\"command\":{\"api\":\"light.on\"}}};")";

constexpr ConfigKey kKeys[] = {
    // vantelInit, the log
    {"init", object, "", "", true, "what vantelInit takes"},
    {"init.level", number, "", "2", true,
     "lowest log level: 1 verbose, 2 debug, 3 info, 4 warning, 5 error, 6 nothing", 1, 6},
    {"init.logDirPath", path, "", "\"/tmp/vantel\"", false, "the logs are in cache/log below it"},
    {"init.mode", number, "", "0", false, "0: the log starts afresh; other: it is appended to"},
    {"init.size", number, "", "20", false, "megabytes at which the log starts afresh; 0: none"},
    // vantelInit, the engine
    {"init.resources", path, "", "\"/opt/vantel/share\"", false,
     "folder whose models come before the installed ones"},
    {"init.onnxRuntime", path, "", "\"\"", false,
     "the inference runtime's library; the empty text: none"},
    {"init.logFile", path, "", "\"/tmp/ostrel.log\"", false, "the engine's own log"},
    {"init.logEnable", boolean, "", "true", false,
     "without a logFile: the engine's log on standard output; false: none"},

    // Devices
    {"recorder", object, "", "", true, "where the audio comes from"},
    {"recorder.mode", word, kExternal, kExternalText, true, "the host feeds it: vantelFeedData"},
    {"player", object, "", "", true, "where speech is played"},
    {"player.mode", word, kExternal, kExternalText, true,
     "by the host, which reports the end: vantelNotifyTTSEnd"},
    {"cntts", object, "", "", false, "speech output"},
    {"cntts.mode", word, kExternal, kExternalText, false, "speech is produced elsewhere"},
    {"cntts.privilege", onText, "", kOn, false, "host speech may interrupt a dialog"},
    {"camera", object, "", "", false, "where images come from"},
    {"camera.mode", word, kExternal, kExternalText, false, "the host feeds them: vantelFeedImage"},
    {"face", object, "", "", false, "watching for faces"},
    {"face.enable", onText, "", kOn, false, "its requests are passed on"},
    {"extendsp", object, "", "", false, "extended signal processing"},
    {"extendsp.enable", onText, "", kOn, false, "its requests are passed on"},

    // Speech detection
    {"vad", object, "", "", true, "the speech detector; without it no speech is detected"},
    {"vad.pauseTime", ms, "", "500", true, "silence that ends speech", 0, 60000},
    {"vad.timeout", ms, "", "10000", true,
     "the measurement buffers are cleared so often while nobody speaks", 1},
    {"vad.fullMode", onNumber, "", "1", false, "several utterances in one start; for fullDuplex"},
    {"vad.cachePcm", onText, "", kOn, false, "keep what is heard below homePath"},
    {"vad.engine", word, "silero webrtc", "\"silero\"", false, "force this detector"},
    {"vad.preRoll", ms, "", "200", true, "audio passed on from before the beginning", 0, 60000},
    {"vad.beginMargin", ms, "", "40", false, "speech begins so long before its first frame", 0,
     60000},
    {"vad.maxSpeech", ms, "", "60000", true, "the longest utterance; 0: no limit", 0, 3600000},
    {"vad.onThreshold", number, "", "0.5", true, "probability that counts towards a beginning", 0,
     1},
    {"vad.offThreshold", number, "", "0.35", true, "probability that carries speech on", 0, 1},
    {"vad.onsetFrames", number, "", "2", false, "so many frames begin speech ...", 1, 32},
    {"vad.onsetWindow", number, "", "3", false, "... of so many", 1, 32},
    {"vad.webrtcMode", number, "", "3", false, "how demanding WebRTC's detector is", 0, 3},

    // Grammar
    {"gram", object, "", "", true, "the grammar"},
    {"gram.name", text, "", "\"home\"", true, "under which the recogniser finds it"},
    {"gram.file", path, "", "\"home.gram\"", false, "a JSGF file; comes before a text"},
    {"gram.text", text, "", kGrammar, true, "JSGF"},
    {"gram.out", path, "", "\"home.compiled\"", false, "the compiled grammar is written there"},
    {"gram.report", path, "", "\"report.json\"", false,
     "what was made of words and sentences is written there"},
    {"gram.try", texts, "", "[\"light on\"]", false, "sentences for the report"},
    {"gram.dict", path, "", "\"model.dict\"", false, "the acoustic model's dictionary"},
    {"gram.userDict", path, "", "\"mine.dict\"", false, "a dictionary whose words come first"},
    {"gram.words", free, "", "{\"vantel\": \"V AE N T AH L\"}", false,
     "words with their phones; before both dictionaries"},
    {"gram.respell", free, "", "{\"vantel\": \"van tell\"}", false,
     "words in words that sound alike, for the streaming recogniser"},
    {"gram.guess", boolean, "", "true", true, "words in no dictionary are guessed"},
    {"gram.phoneMap", path, "", "\"phones.txt\"", false, "phones of pinyin syllables"},

    // Recogniser
    {"asr", object, "", "", true, "the recogniser; without it nothing is recognised"},
    {"asr.grammar", text, "", "\"home\"", true, "the grammar's name"},
    {"asr.grammarFile", path, "", "\"home.compiled\"", false, "a compiled grammar, not a name"},
    {"asr.engine", word, "auto streaming fsg", "\"auto\"", false, "force this recogniser"},
    {"asr.streamingModel", path, "", "\"/models/streaming\"", false,
     "folder of the streaming recogniser's model"},
    {"asr.earlyEnd", boolean, "", "false", false,
     "an utterance ends itself when a whole sentence was heard"},
    {"asr.continuous", boolean, "", "false", false, "phrases are found in audio without end"},
    {"asr.hmm", path, "", "\"/models/en\"", false, "folder of the acoustic model"},
    {"asr.ngram", word, "auto moonshine none", "\"auto\"", true,
     "free speech: when its model is there; always; never"},
    {"asr.partials", boolean, "", "true", true, "results while speech comes in"},
    {"asr.limit", ms, "", "60000", true, "the longest utterance", 1},
    {"asr.confidenceScale", object, "", "", false, "the scale of the confidence, of a model"},
    {"asr.confidenceScale.all", number, "", "0.2205", false, "weight of A, all frames"},
    {"asr.confidenceScale.words", number, "", "0.1086", false, "weight of W, the words' frames"},
    {"asr.confidenceScale.agreement", number, "", "0", false, "when free speech agrees"},
    {"asr.confidenceScale.offset", number, "", "3.937", false, "added to these"},
    {"asr.verify", boolean, "", "true", false, "unsure Chinese commands are checked by a model"},
    {"asr.showFit", boolean, "", "true", false, "A and W in the final result"},
    {"asr.env", free, "", "{\"use_xbnf_rec\": 1, \"use_ngram\": 1, \"use_pinyin\": 1}", true,
     "grammar, free speech and pronunciation, on or off"},
    {"asr.cachePcm", onText, "", kOn, false, "keep what the recogniser hears below homePath"},
    {"asr.disableVAD", onText, "", kOn, false, "the end of speech does not end the turn"},
    {"asrRes", text, "", "\"cloud\"", false, "recognition comes from a cloud service"},
    {"retryTimes", number, "", "0", true, "failed recognitions in a row that keep the dialog open"},

    // Dialog
    {"dmTimeOut", ms, "", "10000", true, "wait for a dialog's reply", 1},
    {"keepAliveTimeout", ms, "", "120000", true, "how long a continuing dialog stays open", 1},
    {"fullDuplex", onText, "", kOn, false,
     "listening goes on while the dialog answers; wants \"vad\".\"fullMode\""},
    {"enableStreamData", onNumber, "", "1", false, "the last playback leaves the turn to a stream"},
    {"oneshot", object, "", "", false, "a command right behind the wake word"},
    {"oneshot.enable", onText, "", kOn, false, "it may follow without a pause"},
    {"oneshot.timeout", ms, "", "600", false, "how long a wakeup waits for it", 1},
    {"oneshot.greetMode", word, "immediate", "\"immediate\"", false, "the greeting plays at once"},
    {"wakeup", object, "", "", false, "the wake word"},
    {"wakeup.word", text, "", "\"你好小屋\"", false, "sizes the audio kept from before"},
    {"wakeup.subsets", text, "", "\"屋,小屋\"", false, "its tails, until the first start"},
    {"vprRuntime", object, "", "", false, "telling speakers apart"},
    {"vprRuntime.disableVAD", onText, "", kOn, false, "the end of speech does not end the turn"},

    // The instance
    {"homePath", path, "", "\"/var/lib/vantel\"", false, "captures and keys are in cache below it"},
    {"deviceId", text, "", "\"default\"", true, "goes into the names of captures"},
    {"audioLimit", ms, "", "60000", true, "so much audio may wait for the detector", 1},
    {"timerClickMs", ms, "", "3", true, "granularity of all timers", 1},
    {"micType", word, "mono", "\"mono\"", false, "only logged"},
    {"aecMode", word, "external internal", "\"external\"", false, "only logged, with micType"},
};

} // namespace

std::span<const ConfigKey> configKeys()
{
    return kKeys;
}

} // namespace vantel::app
