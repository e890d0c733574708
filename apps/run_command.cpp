#include "apps/commands.h"
#include "apps/configuration.h"
#include "apps/engine_log.h"
#include "apps/recording.h"
#include "apps/session.h"
#include "apps/timeline.h"
#include "platform/console.h"

#include <vantel/vantel.h>

#include <atomic>
#include <cstdio>
#include <mutex>
#include <optional>
#include <thread>

namespace vantel::app
{
namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

void setText(cJSON *object, const char *key, const std::string &text)
{
    cJSON_DeleteItemFromObject(object, key);
    cJSON_AddStringToObject(object, key, text.c_str());
}

void setLevel(cJSON *object, int level)
{
    cJSON_DeleteItemFromObject(object, "level");
    cJSON_AddNumberToObject(object, "level", level);
}

// Decides where the logs go: to the folder of the options, else to the configuration's. When
// neither names one, to a temporary folder, with what the tool itself wants to know.
bool chooseLogs(const RunOptions &options, Configuration *configuration, LogFolder *logs,
                std::string *error)
{
    constexpr int kEverything = 1;
    constexpr int kResults = 3;
    cJSON *initialisation = configuration->initialisation.get();
    const char *configured = jsonString(initialisation, "logDirPath");
    const std::string folder = !options.logFolder.empty() ? options.logFolder
                               : configured               ? configured
                                                          : "";
    const bool isWritable = folder.empty()
                                ? logs->useTemporary()
                                : logs->use(folder, jsonInt(initialisation, "mode", 0) == 0);
    if (!isWritable) {
        *error = (folder.empty() ? "the folder of temporary files" : folder) +
                 ": logs cannot be written there";
        return false;
    }
    setText(initialisation, "logDirPath", logs->path());
    if (!options.logFolder.empty() || folder.empty())
        setLevel(initialisation, folder.empty() ? kResults : kEverything);
    return true;
}

// Says where more about a failure is to be found.
std::string withHint(const std::string &error, const LogFolder &logs)
{
    if (logs.path().empty() || logs.isTemporary()) return error + "; --log FOLDER tells more";
    return error + "; the logs in " + logs.path() + " tell more";
}

bool openInput(const RunOptions &options, std::vector<Recording> *input, std::string *error)
{
    if (options.useMicrophone) {
        std::unique_ptr<AudioSource> source = openMicrophone(options.device, error);
        if (source) input->emplace_back("microphone", std::move(source));
        return !input->empty();
    }
    for (const std::string &path : options.audioPaths) {
        std::unique_ptr<AudioSource> source =
            path == kStandardInput ? openAudioInput(error) : openAudioFile(path, error);
        if (!source) return false;
        input->emplace_back(path, std::move(source));
    }
    return true;
}

std::string withoutBlanks(std::string text)
{
    std::erase(text, ' ');
    return text;
}

// Holds dialogs over the recordings and shows what happens.
class Run
{
public:
    Run(const RunOptions &options, const LogFolder &logs, Output *output)
        : options_(options), output_(output), engineLog_(logs.engineLog()),
          libraryLog_(logs.libraryLog()), timeline_(output, options.isJson)
    {
    }

    // The exit code; *error says why not all was heard.
    int hold(const Configuration &configuration, std::vector<Recording> *input, std::string *error)
    {
        HeapText initialisation = jsonPrint(configuration.initialisation.get());
        HeapText parameters = jsonPrint(configuration.parameters.get());
        Session session{initialisation.get(), parameters.get(),
                        [this](int32_t event, int32_t type, const std::string &data) {
                            show(event, type, data);
                        }};
        *error = session.error();
        showComplaints(&engineLog_, true);
        bool isRecognised = false;
        for (Recording &recording : *input) {
            if (!error->empty() || isOver()) break;
            begin(recording);
            *error = hear(session, &recording);
            // A dialog may go on in the next recording.
            if (&recording == &input->back() || !error->empty() || isOver()) session.stopDialog();
            isRecognised |= end(recording);
        }
        showComplaints(&engineLog_, false);
        if (error->empty()) *error = output_->error();
        if (!error->empty()) return kExitFailure;
        return isRecognised ? kExitDone : kExitNothingRecognised;
    }

private:
    bool isOver() const { return platformInterrupted() || !output_->error().empty(); }

    Moment now(const std::string &file) const
    {
        const auto elapsed = steady_clock::now() - begin_;
        return {std::chrono::duration_cast<milliseconds>(elapsed).count(), file, positionMs_};
    }

    void show(int32_t number, int32_t type, const std::string &data)
    {
        HostEvent event;
        event.event = number;
        event.type = type;
        event.data = data;
        std::lock_guard locked{mutex_};
        event.moment = now(file_);
        std::optional<HeardResult> heard;
        if (event.event == VANTEL_EVENT_ERROR || event.event == VANTEL_EVENT_ASR)
            heard = resultBehind(event);
        if (heard && event.event == VANTEL_EVENT_ASR) event.words = heard->words;
        verdict_.take(event, heard);
        timeline_.show(event, heard);
    }

    // The recogniser's result that an event came from: the one that was taken, or the first of
    // those that were dropped.
    std::optional<HeardResult> resultBehind(const HostEvent &event)
    {
        Json data = jsonParse(event.data.c_str());
        const char *taken = jsonString(data.get(), "text");
        if (event.event == VANTEL_EVENT_ASR && !taken) return std::nullopt; // a partial one
        const std::vector<HeardResult> all = newResults(&libraryLog_);
        for (const HeardResult &each : all)
            if (!taken || withoutBlanks(each.text) == withoutBlanks(taken)) return each;
        return std::nullopt;
    }

    void begin(const Recording &recording)
    {
        std::lock_guard locked{mutex_};
        file_ = recording.name();
        positionMs_ = 0;
        verdict_ = {};
        timeline_.beginRecording(file_);
    }

    bool end(const Recording &recording)
    {
        std::lock_guard locked{mutex_};
        timeline_.clearProgress();
        // There is none on a recording that was not heard to its end.
        if (recording.isLive() || !platformInterrupted())
            timeline_.endRecording(now(recording.name()), verdict_);
        return verdict_.isRecognised();
    }

    // Waits for the reply of the dialog service, or the end of its speech.
    bool waitForReply(Session &session, const std::string &status)
    {
        // The library bounds every wait for a reply; this one is for a reply that never comes.
        constexpr milliseconds kReplyLimit{60000};
        constexpr milliseconds kLookAround{100};
        for (milliseconds waited{0}; waited < kReplyLimit && !isOver(); waited += kLookAround)
            if (session.waitForChange(status, kLookAround)) return true;
        return isOver();
    }

    // Feeds the recording while the dialog listens, and starts the next dialog when one has ended.
    // Returns why the dialog cannot go on; nothing when all was heard.
    std::string hear(Session &session, Recording *recording)
    {
        auto due = steady_clock::now();
        while (!isOver()) {
            if (session.hasFailed()) return "a part of the speech engine cannot be made";
            const std::string status = session.status();
            if (status == "silence") {
                session.settle(); // what belongs to the dialog that has ended
                if (recording->isSpent()) break;
                const int32_t started = session.dialogs();
                session.startDialog();
                if (session.status() == "silence" && session.dialogs() == started)
                    return "the dialog does not start";
                continue;
            }
            if (status != "listening") {
                if (!waitForReply(session, status)) return "no reply came";
                due = steady_clock::now();
                continue;
            }
            const std::vector<int16_t> chunk = recording->next();
            if (chunk.empty()) break;
            positionMs_ = recording->positionMs();
            session.feed(chunk.data(), chunk.size());
            {
                std::lock_guard locked{mutex_};
                timeline_.progress(recording->heard(), recording->total());
            }
            if (options_.isFast || recording->isPaced()) continue;
            due += milliseconds(static_cast<int>(chunk.size()) * 1000 / kSampleRate);
            std::this_thread::sleep_until(due);
        }
        return {};
    }

    const RunOptions &options_;
    const steady_clock::time_point begin_ = steady_clock::now();
    Output *output_;
    LogTail engineLog_;
    std::atomic<int64_t> positionMs_{0};
    // Guarded by mutex_: events come on the library's threads, progress on the tool's.
    std::mutex mutex_;
    LogTail libraryLog_;
    Timeline timeline_;
    std::string file_;
    Verdict verdict_;
};

} // namespace

int runCommand(const RunOptions &options, Output *output)
{
    std::string error;
    if (options.listDevices) {
        for (const std::string &name : microphoneNames(&error))
            output->write(name + "\n");
        return error.empty() ? kExitDone : complain(error);
    }
    if (options.audioPaths.empty() && !options.useMicrophone) {
        complain("nothing to hear: give a recording or --mic");
        return kExitUsage;
    }
    platformCatchInterrupts();
    Configuration configuration;
    LogFolder logs; // before the session, which still writes while it ends
    std::vector<Recording> input;
    if (!loadConfiguration(options, &configuration, &error) ||
        !chooseLogs(options, &configuration, &logs, &error) || !openInput(options, &input, &error))
        return complain(error);
    Run run{options, logs, output};
    const int code = run.hold(configuration, &input, &error);
    if (error.empty()) return code;
    return complain(output->error().empty() ? withHint(error, logs) : error);
}

} // namespace vantel::app
