#include "apps/audio_source.h"
#include "apps/commands.h"
#include "apps/defaults.h"
#include "apps/session.h"
#include "apps/timeline.h"
#include "platform/platform.h"
#include "tools/json.h"

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
}

bool readText(const std::string &path, std::string *text)
{
    std::FILE *file = platformOpenFile(path.c_str(), "rb");
    if (!file) return false;
    char block[4096];
    while (size_t bytes = std::fread(block, 1, sizeof block, file))
        text->append(block, bytes);
    std::fclose(file);
    return true;
}

int complain(const std::string &what)
{
    std::fprintf(stderr, "vantel: %s\n", what.c_str());
    return kExitError;
}

// The configuration with its grammar, and the part of it that goes to vantelInit.
struct Configuration {
    Json parameters;
    Json initialisation;
};

bool setGrammar(cJSON *parameters, const std::string &text)
{
    cJSON *grammar = cJSON_GetObjectItem(parameters, "gram");
    if (!cJSON_IsObject(grammar)) return false;
    cJSON_DeleteItemFromObject(grammar, "file");
    cJSON_DeleteItemFromObject(grammar, "text");
    return cJSON_AddStringToObject(grammar, "text", text.c_str()) != nullptr;
}

bool loadConfiguration(const RunOptions &options, Configuration *out, std::string *error)
{
    if (options.configurationPath.empty()) {
        out->parameters = defaultConfiguration();
        std::string grammar = demoGrammar(options.language);
        if (grammar.empty()) {
            *error = "no demo grammar for the language " + options.language;
            return false;
        }
        setGrammar(out->parameters.get(), grammar);
    } else {
        std::string text;
        if (!readText(options.configurationPath, &text)) {
            *error = options.configurationPath + ": cannot be read";
            return false;
        }
        out->parameters = jsonParse(text.c_str());
        if (!cJSON_IsObject(out->parameters.get())) {
            *error = options.configurationPath + ": not a JSON object";
            return false;
        }
    }
    if (!options.grammarPath.empty()) {
        std::string text;
        if (!readText(options.grammarPath, &text)) {
            *error = options.grammarPath + ": cannot be read";
            return false;
        }
        if (!setGrammar(out->parameters.get(), text)) {
            *error = "the configuration has no \"gram\" object to take the grammar";
            return false;
        }
    }
    out->initialisation.reset(cJSON_DetachItemFromObject(out->parameters.get(), "init"));
    if (!cJSON_IsObject(out->initialisation.get())) {
        out->initialisation.reset(cJSON_CreateObject());
        // Without a log folder the log would go to standard output, between the events.
        cJSON_AddNumberToObject(out->initialisation.get(), "level", 6);
    }
    if (!options.logFolder.empty()) {
        cJSON_DeleteItemFromObject(out->initialisation.get(), "level");
        cJSON_DeleteItemFromObject(out->initialisation.get(), "logDirPath");
        cJSON_AddNumberToObject(out->initialisation.get(), "level", 1);
        cJSON_AddStringToObject(out->initialisation.get(), "logDirPath", options.logFolder.c_str());
    }
    return true;
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
    // Only silence is left of the input.
    bool isSpent() const
    {
        return at_ >= sources_.size() || (at_ + 1 == sources_.size() && silence_ > 0);
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

// Feeds the input while the dialog listens, and starts the next dialog when one has ended. False
// when the dialog cannot go on.
bool hold(Session &session, Input &input, Timeline &timeline, std::mutex &output,
          const RunOptions &options)
{
    auto due = steady_clock::now();
    int32_t started = 0;
    while (!isInterrupted) {
        std::string status = session.status();
        if (status == "silence") {
            if (input.isSpent()) return true;
            session.startDialog();
            if (session.status() == "silence" && session.dialogs() == started) {
                complain("the dialog does not start");
                return false;
            }
            started = session.dialogs();
            continue;
        }
        if (status != "listening") {
            if (!session.waitForChange(status, kReplyLimit)) return false;
            due = steady_clock::now();
            continue;
        }
        std::vector<int16_t> chunk = input.next();
        if (chunk.empty()) return true;
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
    return true;
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
        return complain("nothing to hear: give --audio FILE or --mic");
    Configuration configuration;
    std::vector<std::unique_ptr<AudioSource>> sources;
    if (!loadConfiguration(options, &configuration, &error) ||
        !openInput(options, &sources, &error)) {
        return complain(error);
    }
    HeapText initialisation = jsonPrint(configuration.initialisation.get());
    HeapText parameters = jsonPrint(configuration.parameters.get());

    std::signal(SIGINT, onInterrupt);
    Timeline timeline{options.isJson};
    std::mutex output; // events come on the library's threads, progress on this one
    Session session{initialisation.get(), parameters.get(), [&](const HostEvent &event) {
                        std::lock_guard locked{output};
                        timeline.show(event);
                    }};
    if (!session.error().empty()) return complain(session.error());
    if (session.hasFailed()) return complain("a part of the speech engine cannot be made");
    Input input{std::move(sources)};
    const bool held = hold(session, input, timeline, output, options);
    session.stopDialog();
    {
        std::lock_guard locked{output};
        timeline.clearProgress();
    }
    if (!held || session.hasFailed()) return kExitError;
    if (session.commands() > 0) return kExitRecognised;
    if (!options.isJson) std::printf("no command was recognised\n");
    return kExitNothingRecognised;
}

} // namespace vantel::app
