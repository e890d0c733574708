#include "apps/audio_source.h"
#include "apps/commands.h"
#include "apps/configuration.h"
#include "apps/engine_log.h"
#include "apps/session.h"
#include "apps/timeline.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <mutex>
#include <thread>

namespace vantel::app
{
namespace
{

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Silence behind the input, so that its last utterance can end.
constexpr double kTrailingSeconds = 3.0;
// The library bounds every wait for a reply; this one is for a reply that never comes.
constexpr milliseconds kReplyLimit{60000};

std::atomic<bool> isInterrupted{false};

void onInterrupt(int)
{
    isInterrupted = true;
    std::signal(SIGINT, SIG_DFL); // the second time ends the program at once
}

int complain(const std::string &what)
{
    std::fprintf(stderr, "vantel: %s\n", what.c_str());
    return kExitError;
}

// Every input file one after the other, silence between them.
class Input
{
public:
    explicit Input(std::vector<std::unique_ptr<AudioSource>> sources) : sources_(std::move(sources))
    {
        for (const auto &source : sources_)
            total_ += source->seconds();
    }

    // The next chunk; silence for a while after each source, then nothing.
    std::vector<int16_t> next()
    {
        while (at_ < sources_.size()) {
            std::vector<int16_t> chunk = sources_[at_]->read();
            if (!chunk.empty()) {
                heard_ += static_cast<double>(chunk.size()) / kSampleRate;
                silence_ = 0;
                return chunk;
            }
            if (sources_[at_]->isLive()) return {};
            if (silence_ < kTrailingSeconds) {
                silence_ += static_cast<double>(kChunkSamples) / kSampleRate;
                return std::vector<int16_t>(kChunkSamples);
            }
            silence_ = 0;
            ++at_;
        }
        return {};
    }
    // Nothing is left of the input that could hold a command.
    bool isSpent() const
    {
        constexpr double kShortestCommandSeconds = 0.3;
        if (at_ >= sources_.size()) return true;
        if (at_ + 1 < sources_.size() || sources_[at_]->isLive()) return false;
        return silence_ > 0 || total_ - heard_ < kShortestCommandSeconds;
    }
    double heard() const { return heard_; }
    double total() const { return total_; }

private:
    std::vector<std::unique_ptr<AudioSource>> sources_;
    size_t at_ = 0;
    double heard_ = 0;
    double total_ = 0;
    double silence_ = 0; // seconds fed behind the current source
};

void setLogging(cJSON *initialisation, int level, const std::string &folder)
{
    cJSON_DeleteItemFromObject(initialisation, "level");
    cJSON_DeleteItemFromObject(initialisation, "logDirPath");
    cJSON_AddNumberToObject(initialisation, "level", level);
    if (!folder.empty()) cJSON_AddStringToObject(initialisation, "logDirPath", folder.c_str());
}

// Decides where the logs go: to the folder of the options, else where the configuration says. When
// neither says anything, only errors are logged, and nothing comes between the events.
bool chooseLogs(const RunOptions &options, Configuration *configuration, LogFolder *logs,
                std::string *error)
{
    constexpr int kEverything = 1;
    constexpr int kErrorsOnly = 5;
    constexpr int kNothing = 6;
    cJSON *initialisation = configuration->initialisation.get();
    if (!options.logFolder.empty()) {
        if (!logs->use(options.logFolder)) {
            *error = options.logFolder + ": logs cannot be written there";
            return false;
        }
        setLogging(initialisation, kEverything, options.logFolder);
    } else if (!jsonMember(initialisation, "level") && !jsonMember(initialisation, "logDirPath")) {
        if (logs->useTemporary()) {
            setLogging(initialisation, kErrorsOnly, logs->path());
        } else {
            setLogging(initialisation, kNothing, "");
        }
    }
    return true;
}

// Says where more about a failure is to be found.
std::string withHint(const std::string &error, const RunOptions &options, const LogFolder &logs)
{
    if (!options.logFolder.empty())
        return error + "; the logs in " + options.logFolder + " tell more";
    return logs.path().empty() ? error + "; --log FOLDER tells more" : error;
}

bool openInput(const RunOptions &options, std::vector<std::unique_ptr<AudioSource>> *sources,
               std::string *error)
{
    if (options.useMicrophone) {
        sources->push_back(openMicrophone(options.device, error));
        return sources->back() != nullptr;
    }
    for (const std::string &path : options.audioPaths) {
        sources->push_back(openAudioFile(path, error));
        if (!sources->back()) return false;
    }
    return true;
}

// Feeds the input while the dialog listens, and starts the next dialog when one has ended. Returns
// why the dialog cannot go on; nothing when all input was heard.
std::string hold(Session &session, Input &input, Timeline &timeline, std::mutex &output,
                 const RunOptions &options)
{
    auto due = steady_clock::now();
    int32_t started = 0;
    while (!isInterrupted) {
        if (session.hasFailed()) return "a part of the speech engine cannot be made";
        std::string status = session.status();
        if (status == "silence") {
            if (input.isSpent()) break;
            session.startDialog();
            if (session.status() == "silence" && session.dialogs() == started)
                return "the dialog does not start";
            started = session.dialogs();
            continue;
        }
        if (status != "listening") {
            if (!session.waitForChange(status, kReplyLimit)) return "no reply came";
            due = steady_clock::now();
            continue;
        }
        std::vector<int16_t> chunk = input.next();
        if (chunk.empty()) break;
        session.feed(chunk.data(), chunk.size());
        {
            std::lock_guard locked{output};
            timeline.progress(input.heard(), input.total());
        }
        if (!options.isFast && !options.useMicrophone) {
            due += milliseconds(1000 * kChunkSamples / kSampleRate);
            std::this_thread::sleep_until(due);
        }
    }
    return {};
}

// Returns the exit code; `error` says what went wrong.
int runDialogs(const RunOptions &options, const Configuration &configuration, Input input,
               std::string *error)
{
    HeapText initialisation = jsonPrint(configuration.initialisation.get());
    HeapText parameters = jsonPrint(configuration.parameters.get());
    std::signal(SIGINT, onInterrupt);
    Timeline timeline{options.isJson};
    std::mutex output; // events come on the library's threads, progress on this one
    Session session{initialisation.get(), parameters.get(), [&](const HostEvent &event) {
                        std::lock_guard locked{output};
                        timeline.show(event);
                    }};
    *error = session.error();
    if (!error->empty()) return kExitError;
    *error = hold(session, input, timeline, output, options);
    session.stopDialog();
    {
        std::lock_guard locked{output};
        timeline.clearProgress();
    }
    if (!error->empty()) return kExitError;
    if (session.commands() > 0) return kExitRecognised;
    if (!options.isJson)
        std::printf("no command was recognised%s\n",
                    session.texts() > 0 ? ": the text has no meaning in the grammar" : "");
    return kExitNothingRecognised;
}

} // namespace

int runCommand(const RunOptions &options)
{
    std::string error;
    if (options.listDevices) {
        for (const std::string &name : microphoneNames(&error))
            std::printf("%s\n", name.c_str());
        return error.empty() ? 0 : complain(error);
    }
    if (options.audioPaths.empty() && !options.useMicrophone)
        return complain("nothing to hear: give a recording or --mic");
    Configuration configuration;
    LogFolder logs; // before the session, which still writes while it ends
    std::vector<std::unique_ptr<AudioSource>> sources;
    if (!loadConfiguration(options, &configuration, &error) ||
        !chooseLogs(options, &configuration, &logs, &error) ||
        !openInput(options, &sources, &error)) {
        return complain(error);
    }
    const int code = runDialogs(options, configuration, Input{std::move(sources)}, &error);
    logs.showErrors();
    return error.empty() ? code : complain(withHint(error, options, logs));
}

} // namespace vantel::app
