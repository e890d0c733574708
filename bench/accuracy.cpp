// How often the recogniser is right, and how often it takes for a command what is none.
//
//   accuracy [--details FILE] [--ngram] [--asr JSON] [--threads N] [--quick] [--clean] LIST
//
// LIST has lines of group, file of 16 kHz samples and words, as bench/accuracy.sh writes them. Each
// recording of a group is searched with the group's grammar, and so are one recording of "other"
// and noise alone, by turns. --details writes every single result; --quick leaves out what is no
// command and the worst condition, --clean the conditions with noise mixed in. Before and behind
// each recording is as much near-silence as the detector leaves around speech.
#include "bench/samples.h"
#include "contracts/ostrel.h"
#include "tools/json.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <fstream>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using vantel::HeapText;
using vantel::Json;

constexpr double kThreshold = 0.55; // the default of the dialog side
constexpr double kClean = 1000;     // as a signal-to-noise ratio
constexpr double kConditions[] = {kClean, 20, 10};
constexpr const char *kOther = "other";
constexpr int kNoises = 48; // of noise alone, in each noisy condition

using bench::Samples;

struct Recording {
    std::string group;
    std::string file;
    std::string text;
    Samples samples;
};

struct Options {
    std::string list;
    std::string details;
    std::string asr; // further members of the recogniser's configuration
    bool ngram = false;
    bool quick = false;
    bool clean = false;
    unsigned threads = 2;
};

// One recording in one condition with one grammar.
struct Trial {
    const Recording *recording = nullptr; // null: noise alone
    std::string grammar;
    double snr = kClean;
    unsigned seed = 0;
    bool inGrammar = false;
    // Results.
    std::string heard{};
    double confidence = 0;
    std::string ngram{};
    double ngramConfidence = 0;
    double fitAll = 0;
    double fitWords = 0;
};

struct Corpus {
    std::vector<Recording> recordings;
    std::map<std::string, std::string> alternatives; // by group
};

Corpus readCorpus(const std::string &list)
{
    Corpus corpus;
    std::ifstream stream{list};
    std::map<std::string, std::set<std::string>> texts;
    for (std::string line; std::getline(stream, line);) {
        std::istringstream fields{line};
        Recording recording;
        std::getline(fields, recording.group, '\t');
        std::getline(fields, recording.file, '\t');
        std::getline(fields, recording.text, '\t');
        if (recording.group.starts_with("!")) {
            corpus.alternatives[recording.group.substr(1)] = recording.file;
            continue;
        }
        recording.samples = bench::readSamples(recording.file);
        if (recording.group != kOther) texts[recording.group].insert(recording.text);
        corpus.recordings.push_back(std::move(recording));
    }
    for (const auto &[group, all] : texts) {
        if (corpus.alternatives.contains(group)) continue;
        std::string &alternatives = corpus.alternatives[group];
        for (const std::string &text : all)
            alternatives += (alternatives.empty() ? "" : " | ") + text;
    }
    return corpus;
}

// The recording with about as much near-silence around it as the detector leaves.
Samples surrounded(const Samples &samples, unsigned seed)
{
    constexpr size_t kBefore = 200 * 16;
    constexpr size_t kAfter = 300 * 16;
    std::mt19937 random{seed};
    Samples audio(kBefore + samples.size() + kAfter);
    for (int16_t &sample : audio)
        sample = static_cast<int16_t>(static_cast<int>(random() % 7) - 3);
    std::copy(samples.begin(), samples.end(), audio.begin() + kBefore);
    return audio;
}

Samples trialAudio(const Trial &trial)
{
    constexpr double kNoiseAloneLevel = 500;
    constexpr size_t kNoiseAloneSamples = 24000;
    Samples audio = trial.recording ? surrounded(trial.recording->samples, trial.seed)
                                    : Samples(kNoiseAloneSamples, 0);
    if (trial.snr >= kClean) return audio;
    std::vector<double> noise = bench::pinkNoise(audio.size(), trial.seed);
    double speech = trial.recording ? bench::power(trial.recording->samples) : 0;
    double wanted = trial.recording ? std::sqrt(speech / std::pow(10, trial.snr / 10))
                                    : kNoiseAloneLevel * (1 + trial.seed % 4);
    double factor = wanted / std::max(std::sqrt(bench::power(noise)), 1e-9);
    for (size_t i = 0; i < audio.size(); ++i)
        audio[i] = bench::clipped(audio[i] + factor * noise[i]);
    return audio;
}

std::vector<Trial> makeTrials(const Corpus &corpus, const Options &options)
{
    std::vector<Trial> trials;
    std::vector<std::string> groups;
    for (const auto &[group, alternatives] : corpus.alternatives)
        groups.push_back(group);
    for (double snr : kConditions) {
        if ((options.quick && snr < 20) || (options.clean && snr < kClean)) continue;
        unsigned seed = 1;
        size_t turn = 0;
        for (const Recording &recording : corpus.recordings) {
            bool isOther = recording.group == kOther;
            if (options.quick && isOther) continue;
            const std::string &grammar = isOther ? groups[turn++ % groups.size()] : recording.group;
            trials.push_back({&recording, grammar, snr, seed++, !isOther});
        }
        for (int i = 0; i < kNoises && snr < kClean && !options.quick; ++i)
            trials.push_back({nullptr, groups[turn++ % groups.size()], snr, seed++, false});
    }
    return trials;
}

bool compile(const std::string &name, const std::string &alternatives)
{
    Json configuration{cJSON_CreateObject()};
    std::string jsgf = "#JSGF V1.0;\ngrammar " + name + ";\npublic <top> = " + alternatives + ";\n";
    cJSON_AddStringToObject(configuration.get(), "text", jsgf.c_str());
    cJSON_AddStringToObject(configuration.get(), "name", name.c_str());
    HeapText text = vantel::jsonPrint(configuration.get());
    void *handle = ostrel_gram_new(text.get());
    bool done = handle && ostrel_gram_start(handle, text.get()) == 0;
    ostrel_gram_delete(handle);
    return done;
}

int32_t onResult(void *user, int32_t, const void *data, int32_t length)
{
    auto *trial = static_cast<Trial *>(user);
    std::string text{static_cast<const char *>(data), static_cast<size_t>(length)};
    Json root = vantel::jsonParse(text.c_str());
    auto take = [&](const char *kind, std::string *heard, double *confidence) {
        const cJSON *result = vantel::jsonObject(root.get(), kind);
        const char *words = vantel::jsonString(result, "rec");
        if (!words || vantel::jsonInt(result, "eof", 0) != 1) return;
        *heard = words;
        *confidence = vantel::jsonMember(result, "conf")->valuedouble;
    };
    take("grammar", &trial->heard, &trial->confidence);
    take("ngram", &trial->ngram, &trial->ngramConfidence);
    const cJSON *fit = vantel::jsonObject(vantel::jsonObject(root.get(), "grammar"), "fit");
    if (fit) {
        trial->fitAll = vantel::jsonMember(fit, "all")->valuedouble;
        trial->fitWords = vantel::jsonMember(fit, "words")->valuedouble;
    }
    return 0;
}

// A recogniser for each grammar, whose results go to the trial that is being done.
struct Worker {
    Trial *current = nullptr;
    std::map<std::string, void *> recognisers;

    static int32_t forward(void *user, int32_t kind, const void *data, int32_t length)
    {
        return onResult(static_cast<Worker *>(user)->current, kind, data, length);
    }
};

bool runTrial(Worker *worker, Trial *trial, const Options &options)
{
    void *&recogniser = worker->recognisers[trial->grammar];
    if (!recogniser) {
        std::string configuration =
            R"({"partials":false,"showFit":true,"grammar":")" + trial->grammar + R"(","ngram":")" +
            (options.ngram ? "moonshine" : "none") + "\"" + options.asr + "}";
        recogniser = ostrel_asr_new(configuration.c_str(), Worker::forward, worker);
    }
    Samples audio = trialAudio(*trial);
    worker->current = trial;
    return recogniser && ostrel_asr_start(recogniser, nullptr) == 0 &&
           ostrel_asr_feed(recogniser, audio.data(),
                           static_cast<int32_t>(audio.size() * sizeof(int16_t))) == 0 &&
           ostrel_asr_stop(recogniser) == 0;
}

bool runTrials(std::vector<Trial> *trials, const Options &options)
{
    std::atomic<size_t> next{0};
    std::atomic<bool> good{true};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < options.threads; ++i) {
        threads.emplace_back([&] {
            Worker worker;
            for (size_t at; good && (at = next++) < trials->size();)
                if (!runTrial(&worker, &(*trials)[at], options)) good = false;
            for (auto &[name, recogniser] : worker.recognisers)
                ostrel_asr_delete(recogniser);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    return good;
}

std::string share(size_t part, size_t all)
{
    char text[48];
    double percent = all ? 100.0 * static_cast<double>(part) / static_cast<double>(all) : 0;
    std::snprintf(text, sizeof text, "%zu of %zu (%.1f %%)", part, all, percent);
    return text;
}

std::string conditionName(double snr)
{
    return snr >= kClean ? "clean" : std::to_string(static_cast<int>(snr)) + " dB";
}

struct Row {
    size_t commands = 0, right = 0, rightAccepted = 0, wrongAccepted = 0;
    size_t others = 0, othersAccepted = 0;
    size_t noises = 0, noisesAccepted = 0;
};

void printTable(const std::vector<Trial> &trials)
{
    std::map<double, Row, std::greater<>> rows;
    for (const Trial &trial : trials) {
        Row &row = rows[trial.snr];
        bool accepted = !trial.heard.empty() && trial.confidence >= kThreshold;
        if (trial.inGrammar) {
            bool right = trial.heard == trial.recording->text;
            row.commands++;
            row.right += right;
            row.rightAccepted += right && accepted;
            row.wrongAccepted += !right && accepted;
        } else if (trial.recording) {
            row.others++;
            row.othersAccepted += accepted;
        } else {
            row.noises++;
            row.noisesAccepted += accepted;
        }
    }
    std::cout << "| condition | commands right | right ones accepted | wrong ones accepted "
                 "| other speech accepted | noise accepted |\n|---|---|---|---|---|---|\n";
    for (const auto &[snr, row] : rows)
        std::cout << "| " << conditionName(snr) << " | " << share(row.right, row.commands) << " | "
                  << share(row.rightAccepted, row.right) << " | "
                  << share(row.wrongAccepted, row.commands - row.right) << " | "
                  << share(row.othersAccepted, row.others) << " | "
                  << (row.noises ? share(row.noisesAccepted, row.noises) : "-") << " |\n";
}

void writeDetails(const std::vector<Trial> &trials, const std::string &file)
{
    std::ofstream stream{file};
    stream << "snr\tgrammar\tfile\twanted\theard\tconf\tngram\tngramConf\tfitAll\tfitWords\n";
    for (const Trial &trial : trials)
        stream << trial.snr << '\t' << trial.grammar << '\t'
               << (trial.recording ? trial.recording->file : "noise") << '\t'
               << (trial.inGrammar ? trial.recording->text : "") << '\t' << trial.heard << '\t'
               << trial.confidence << '\t' << trial.ngram << '\t' << trial.ngramConfidence << '\t'
               << trial.fitAll << '\t' << trial.fitWords << '\n';
}

Options readOptions(int count, char **arguments)
{
    Options options;
    for (int i = 1; i < count; ++i) {
        std::string word = arguments[i];
        const char *value = i + 1 < count ? arguments[i + 1] : "";
        if (word == "--ngram") {
            options.ngram = true;
        } else if (word == "--quick") {
            options.quick = true;
        } else if (word == "--clean") {
            options.clean = true;
        } else if (word == "--details") {
            options.details = value, ++i;
        } else if (word == "--asr") {
            options.asr = value, ++i;
        } else if (word == "--threads") {
            options.threads = static_cast<unsigned>(std::max(1, std::atoi(value))), ++i;
        } else {
            options.list = word;
        }
    }
    return options;
}

} // namespace

int main(int count, char **arguments)
{
    Options options = readOptions(count, arguments);
    Corpus corpus = readCorpus(options.list);
    if (corpus.recordings.empty()) {
        std::cerr << "no recordings in the list \"" << options.list << "\"\n";
        return 1;
    }
    if (ostrel_library_load("{}") != 0) return 1;
    for (const auto &[group, alternatives] : corpus.alternatives)
        if (!compile(group, alternatives)) return 1;
    std::vector<Trial> trials = makeTrials(corpus, options);
    if (!runTrials(&trials, options)) {
        std::cerr << "the recogniser failed\n";
        return 1;
    }
    printTable(trials);
    if (!options.details.empty()) writeDetails(trials, options.details);
    ostrel_library_release();
    return 0;
}
