// How well commands of people are understood in rooms: detector and recogniser together, driven as
// the library drives them, on clips that each hold one command.
//
//   accuracy_people [options] LIST
//
//   --asr JSON         members of the recogniser's configuration, such as '"ngram":"none"'
//   --vad JSON         members of the detector's
//   --pause MS         silence that ends speech (500)
//   --threshold CONF   from which a command is accepted (0.55)
//   --sets NAMES       only these sets and grammars, with commas
//   --rooms NAMES      only these conditions
//   --every N --from K every N-th clip from the K-th on (1 and 0): a quick look, or one half
//   --no-other         without other speech and nearly right orders
//   --seed N           other noise (1)
//   --threads N        (one a processor)
//   --details FILE     every single result
//
// LIST, written by bench/accuracy.sh and bench/mandarin.sh, has lines of kind, file and text:
//
//   grammar  a JSGF file NAME.gram
//   NAME     a clip for that grammar and what is said: words or, as JSON, the command's parameters;
//            NAME:SET is a set of its own for it
//   other    speech that is in no grammar, and of which kind
//   kitchen, music  noises
//
// Other speech for a grammar are also the clips of the others, unless one of its own says the same.
// What depends on chance depends on the seed and the clip alone, whatever else is measured.
#include "bench/rooms.h"
#include "contracts/ostrel.h"
#include "tools/json.h"

#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <thread>

namespace
{

using bench::Backgrounds;
using bench::Clip;
using bench::Condition;
using bench::kSamplesPerMs;
using bench::Room;
using bench::Samples;
using vantel::HeapText;
using vantel::Json;

constexpr Condition kConditions[] = {
    {"clean", Room::quiet, 0},         {"kitchen 20", Room::kitchen, 20},
    {"kitchen 10", Room::kitchen, 10}, {"kitchen 5", Room::kitchen, 5},
    {"pink 10", Room::pink, 10},       {"babble 10", Room::babble, 10},
    {"music 10", Room::music, 10},     {"reverb", Room::reverb, 0},
};
constexpr const Condition &kClean = kConditions[0];
constexpr const Condition &kNoisy = kConditions[2]; // of other speech

// Orders for these, with a grammar that lacks them, are nearly right.
constexpr const char *kNotThere[] = {"cappuccino", "espresso", "latte", "mocha"};
constexpr const char *kNearOf = "coffee";
constexpr const char *kNearGrammar = "coffee without";

struct Options {
    std::string list;
    std::string details;
    std::string asr;
    std::string vad;
    std::string sets;
    std::string rooms;
    int pauseMs = 500;
    double threshold = 0.55;
    size_t every = 1;
    size_t from = 0;
    bool other = true;
    unsigned seed = 1;
    unsigned threads = std::max(1U, std::thread::hardware_concurrency());
};

using Clips = std::map<std::string, std::vector<Clip>>;

struct Corpus {
    std::map<std::string, std::string> grammars; // JSGF by name
    Clips clips;                                 // by set
    Clips other;                                 // by kind
    Backgrounds backgrounds;
};

enum class Kind { command, other, nearlyRight };

// What the engine made of one utterance.
struct Utterance {
    int speechMs = 0;     // as long as the detector took it for speech
    int endMs = 0;        // of the audio, when the result came
    bool isEnded = false; // before the audio was
    bool isFinal = false; // the result is there
    std::string heard{};
    std::string command{}; // parameters, as JSON
    double confidence = 0;
    std::string fit{}; // as JSON, with "showFit"
};

struct Trial {
    const Clip *clip = nullptr;
    const Condition *condition = nullptr;
    const std::vector<Clip> *voices = nullptr; // for babble
    std::string grammar;
    std::string row; // of the table
    Kind kind = Kind::command;
    unsigned seed = 0;
    // Results.
    bool isRight = false;
    bool isAccepted = false;
    int audioMs = 0;
    Utterance utterance{};
};

bool isNamed(const std::string &names, const std::string &name)
{
    return names.empty() || ("," + names + ",").find("," + name + ",") != std::string::npos;
}

std::string readText(const std::string &file)
{
    std::ifstream stream{file};
    return {std::istreambuf_iterator<char>{stream}, {}};
}

bool wantsMissing(const std::string &label)
{
    Json order = vantel::jsonParse(label.c_str());
    const char *drink = vantel::jsonString(order.get(), "coffeeDrink");
    return drink && std::any_of(std::begin(kNotThere), std::end(kNotThere),
                                [&](const char *name) { return std::string{name} == drink; });
}

// The grammar without the drinks that are not there.
std::string withoutDrinks(std::string jsgf)
{
    for (const char *drink : kNotThere) {
        const std::string alternative = std::string{"| "} + drink;
        const size_t at = jsgf.find(alternative + " ");
        if (at != std::string::npos) jsgf.erase(at, alternative.size());
    }
    return jsgf;
}

Corpus readCorpus(const std::string &list)
{
    Corpus corpus;
    std::ifstream stream{list};
    for (std::string line; std::getline(stream, line);) {
        std::istringstream fields{line};
        std::string kind;
        std::string file;
        std::string label;
        std::getline(fields, kind, '\t');
        std::getline(fields, file, '\t');
        std::getline(fields, label);
        if (kind == "grammar")
            corpus.grammars[std::filesystem::path{file}.stem().string()] = readText(file);
        else if (kind == "kitchen")
            corpus.backgrounds.kitchen.push_back(bench::readSamples(file));
        else if (kind == "music")
            corpus.backgrounds.music.push_back(bench::readSamples(file));
        else if (Clip clip = bench::makeClip(file, label); clip.activePower > 0)
            (kind == "other" ? corpus.other[label] : corpus.clips[kind]).push_back(std::move(clip));
    }
    if (corpus.grammars.contains(kNearOf) && corpus.clips.contains(kNearOf))
        corpus.grammars[kNearGrammar] = withoutDrinks(corpus.grammars[kNearOf]);
    return corpus;
}

std::string grammarOf(const std::string &set)
{
    return set.substr(0, set.find(':'));
}

class Trials
{
public:
    Trials(const Corpus &corpus, const Options &options) : corpus_(corpus), options_(options)
    {
        for (const auto &[set, clips] : corpus.clips)
            if (isNamed(options.sets, set)) addCommands(set, clips);
        for (const auto &[grammar, jsgf] : corpus.grammars) {
            if (!options.other || !isNamed(options.sets, grammar)) continue;
            if (grammar == kNearGrammar)
                addNearlyRight();
            else
                addOther(grammar);
        }
    }

    std::vector<Trial> take() { return std::move(trials_); }

private:
    void add(const Clip &clip, const Condition &condition, const std::vector<Clip> &voices,
             const Trial &trial)
    {
        if (!isNamed(options_.rooms, condition.name) ||
            !bench::hasSounds(corpus_.backgrounds, voices, condition.room))
            return;
        // Of its own, so that a choice of clips or conditions changes no noise.
        const auto place = static_cast<unsigned>(&clip - voices.data());
        const auto number = static_cast<unsigned>(&condition - kConditions);
        trials_.push_back(trial);
        trials_.back().clip = &clip;
        trials_.back().condition = &condition;
        trials_.back().voices = &voices;
        trials_.back().seed = options_.seed * 7919 + place * 31 + number;
    }

    void addCommands(const std::string &set, const std::vector<Clip> &clips)
    {
        for (const Condition &condition : kConditions)
            for (size_t i = options_.from; i < clips.size(); i += options_.every)
                add(clips[i], condition, clips,
                    {.grammar = grammarOf(set), .row = set, .kind = Kind::command});
    }

    // What the grammar's own clips say.
    std::set<std::string> labels(const std::string &grammar) const
    {
        std::set<std::string> texts;
        for (const auto &[set, clips] : corpus_.clips)
            if (grammarOf(set) == grammar)
                for (const Clip &clip : clips)
                    texts.insert(clip.label);
        return texts;
    }

    // Each by turns clean and in noise, speech of the other kinds in both.
    void addOther(const std::string &grammar)
    {
        const std::set<std::string> own = labels(grammar);
        for (const auto &[set, clips] : corpus_.clips) {
            if (grammarOf(set) == grammar) continue;
            for (size_t i = options_.from; i < clips.size(); i += options_.every)
                if (!own.contains(clips[i].label))
                    add(clips[i], i / options_.every % 2 == 0 ? kClean : kNoisy, clips,
                        {.grammar = grammar, .row = grammar + ": " + set, .kind = Kind::other});
        }
        for (const auto &[kind, clips] : corpus_.other)
            for (size_t i = options_.from; i < clips.size(); i += options_.every)
                for (const Condition *condition : {&kClean, &kNoisy})
                    add(clips[i], *condition, clips,
                        {.grammar = grammar, .row = grammar + ": " + kind, .kind = Kind::other});
    }

    void addNearlyRight()
    {
        const std::vector<Clip> &clips = corpus_.clips.at(kNearOf);
        for (const Condition *condition : {&kClean, &kNoisy})
            for (size_t i = options_.from; i < clips.size(); i += options_.every)
                if (wantsMissing(clips[i].label))
                    add(clips[i], *condition, clips,
                        {.grammar = kNearGrammar,
                         .row = std::string{kNearOf} + ": nearly right",
                         .kind = Kind::nearlyRight});
    }

    const Corpus &corpus_;
    const Options &options_;
    std::vector<Trial> trials_;
};

bool compile(const std::string &name, const std::string &jsgf)
{
    Json configuration{cJSON_CreateObject()};
    cJSON_AddStringToObject(configuration.get(), "text", jsgf.c_str());
    cJSON_AddStringToObject(configuration.get(), "name", name.c_str());
    HeapText text = vantel::jsonPrint(configuration.get());
    void *handle = ostrel_gram_new(text.get());
    const bool done = handle && ostrel_gram_start(handle, text.get()) == 0;
    ostrel_gram_delete(handle);
    return done;
}

std::string object(std::string members, const std::string &further)
{
    if (!further.empty()) members += (members.empty() ? "" : ",") + further;
    return "{" + members + "}";
}

// Detector and recogniser of one grammar. The recogniser hears what the detector takes for speech;
// an utterance is over where the detector ends it or where the recogniser says so itself.
class Engine
{
public:
    Engine(const std::string &grammar, const Options &options)
        : startText_(R"({"pauseTime":)" + std::to_string(options.pauseMs) + "}"),
          vad_(ostrel_vad_new(object("", options.vad).c_str(), onDetector, this)),
          asr_(ostrel_asr_new(object(R"("grammar":")" + grammar + "\"", options.asr).c_str(),
                              onResult, this))
    {
    }
    ~Engine()
    {
        ostrel_asr_delete(asr_);
        ostrel_vad_delete(vad_);
    }
    Engine(const Engine &) = delete;
    Engine &operator=(const Engine &) = delete;

    // The longest utterance of the audio; nothing when the engine failed.
    std::optional<Utterance> hear(const Samples &audio)
    {
        constexpr size_t kChunk = static_cast<size_t>(20) * kSamplesPerMs;
        if (!vad_ || !asr_ || ostrel_vad_start(vad_, startText_.c_str()) != 0) return {};
        longest_ = {};
        failed_ = false;
        begin();
        for (size_t at = 0; at < audio.size() && !failed_; at += kChunk) {
            const size_t count = std::min(kChunk, audio.size() - at);
            nowMs_ = static_cast<int>(at + count) / kSamplesPerMs;
            failed_ |= ostrel_vad_feed(vad_, audio.data() + at, static_cast<int32_t>(2 * count));
        }
        ostrel_vad_stop(vad_);
        end(false);
        ostrel_asr_cancel(asr_);
        if (failed_) return {};
        return longest_;
    }

private:
    void begin()
    {
        current_ = {};
        failed_ |= ostrel_asr_start(asr_, R"({"env":"use_pinyin=1;use_xbnf_rec=1;"})") != 0;
    }

    void end(bool byDetector)
    {
        if (!current_.isFinal && current_.speechMs > 0) {
            current_.isEnded = byDetector;
            failed_ |= ostrel_asr_stop(asr_) != 0;
        }
        if (current_.speechMs > longest_.speechMs) longest_ = current_;
        current_ = {};
    }

    static int32_t onDetector(void *user, int32_t kind, const void *data, int32_t length)
    {
        auto *engine = static_cast<Engine *>(user);
        if (kind != 0) {
            engine->current_.speechMs += length / (2 * kSamplesPerMs);
            if (!engine->current_.isFinal)
                engine->failed_ |= ostrel_asr_feed(engine->asr_, data, length) != 0;
            return 0;
        }
        Json status = vantel::jsonParse(
            std::string{static_cast<const char *>(data), static_cast<size_t>(length)}.c_str());
        if (vantel::jsonInt(status.get(), "status", 0) == 2) {
            engine->end(true);
            engine->begin();
        }
        return 0;
    }

    static int32_t onResult(void *user, int32_t, const void *data, int32_t length)
    {
        auto *engine = static_cast<Engine *>(user);
        Utterance &utterance = engine->current_;
        Json root = vantel::jsonParse(
            std::string{static_cast<const char *>(data), static_cast<size_t>(length)}.c_str());
        const cJSON *result = vantel::jsonObject(root.get(), "grammar");
        const char *words = vantel::jsonString(result, "rec");
        if (!words || vantel::jsonInt(result, "eof", 0) != 1) return 0;
        utterance.isFinal = true;
        utterance.endMs = engine->nowMs_;
        utterance.heard = words;
        utterance.confidence = vantel::jsonMember(result, "conf")->valuedouble;
        if (const cJSON *fit = vantel::jsonObject(result, "fit"))
            utterance.fit = vantel::jsonPrint(fit).get();
        const cJSON *meaning = vantel::jsonObject(vantel::jsonObject(result, "post"), "sem");
        const cJSON *command = vantel::jsonObject(vantel::jsonObject(meaning, "dm"), "command");
        if (const cJSON *parameters = vantel::jsonObject(command, "param"))
            utterance.command = vantel::jsonPrint(parameters).get();
        return 0;
    }

    std::string startText_;
    Utterance current_;
    Utterance longest_;
    int nowMs_ = 0;
    bool failed_ = false;
    void *vad_;
    void *asr_;
};

// The label's words, or its parameters in any order.
bool isRight(const Utterance &utterance, const std::string &label)
{
    if (!label.starts_with("{")) return utterance.heard == label;
    Json wanted = vantel::jsonParse(label.c_str());
    Json heard = vantel::jsonParse(utterance.command.c_str());
    return cJSON_Compare(wanted.get(), heard.get(), true) != 0;
}

bool runTrial(std::map<std::string, std::unique_ptr<Engine>> *engines, Trial *trial,
              const Corpus &corpus, const Options &options)
{
    std::unique_ptr<Engine> &engine = (*engines)[trial->grammar];
    if (!engine) engine = std::make_unique<Engine>(trial->grammar, options);
    const Samples audio = bench::inRoom(*trial->clip, *trial->condition, corpus.backgrounds,
                                        *trial->voices, trial->seed);
    trial->audioMs = static_cast<int>(audio.size()) / kSamplesPerMs;
    std::optional<Utterance> utterance = engine->hear(audio);
    if (!utterance) return false;
    trial->utterance = *utterance;
    trial->isAccepted = !utterance->heard.empty() && utterance->confidence >= options.threshold;
    trial->isRight = trial->kind == Kind::command && isRight(*utterance, trial->clip->label);
    return true;
}

bool runTrials(std::vector<Trial> *trials, const Corpus &corpus, const Options &options)
{
    std::atomic<size_t> next{0};
    std::atomic<bool> good{true};
    std::vector<std::thread> threads;
    for (unsigned i = 0; i < options.threads; ++i) {
        threads.emplace_back([&] {
            std::map<std::string, std::unique_ptr<Engine>> engines;
            for (size_t at; good && (at = next++) < trials->size();)
                if (!runTrial(&engines, &(*trials)[at], corpus, options)) good = false;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    return good;
}

struct Tally {
    int trials = 0, right = 0, rightAccepted = 0, wrongAccepted = 0, accepted = 0, open = 0;
    std::vector<int> lateMs;
};

void count(const Trial &trial, Tally *tally)
{
    tally->trials++;
    tally->accepted += trial.isAccepted;
    tally->right += trial.isRight;
    tally->rightAccepted += trial.isRight && trial.isAccepted;
    tally->wrongAccepted += !trial.isRight && trial.isAccepted;
    if (!trial.utterance.isFinal) return;
    const bool isOpen = !trial.utterance.isEnded && trial.utterance.endMs >= trial.audioMs;
    tally->open += isOpen;
    tally->lateMs.push_back(trial.utterance.endMs - trial.clip->endMs);
}

int percent(int part, int all)
{
    return all == 0 ? 0 : static_cast<int>(std::lround(100.0 * part / all));
}

int percentile(std::vector<int> values, double share)
{
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
}

// Columns of conditions that were measured; `cell` makes of a tally what the table shows.
void printTable(const std::string &title, const std::map<std::string, std::vector<Tally>> &rows,
                auto &&cell)
{
    std::vector<size_t> columns;
    for (size_t i = 0; i < std::size(kConditions); ++i)
        for (const auto &[name, tallies] : rows)
            if (tallies[i].trials > 0 && (columns.empty() || columns.back() != i))
                columns.push_back(i);
    std::cout << '\n' << title << "\n\n| |";
    for (size_t column : columns)
        std::cout << ' ' << kConditions[column].name << " |";
    std::cout << "\n|---|";
    for (size_t i = 0; i < columns.size(); ++i)
        std::cout << "---|";
    for (const auto &[name, tallies] : rows) {
        std::cout << "\n| " << name << " |";
        for (size_t column : columns)
            std::cout << ' ' << cell(tallies[column]) << " |";
    }
    std::cout << '\n';
}

void printTables(const std::vector<Trial> &trials)
{
    using Rows = std::map<std::string, std::vector<Tally>>;
    Rows commands;
    Rows others;
    for (const Trial &trial : trials) {
        Rows &rows = trial.kind == Kind::command ? commands : others;
        for (const std::string &name : {trial.row, trial.grammar + ": all other speech"}) {
            if (name != trial.row && trial.kind != Kind::other) continue;
            std::vector<Tally> &row = rows[name];
            row.resize(std::size(kConditions));
            count(trial, &row[static_cast<size_t>(trial.condition - kConditions)]);
        }
    }
    printTable("Right and accepted, in brackets wrong and accepted, in %; right at any confidence",
               commands, [](const Tally &tally) {
                   return std::to_string(percent(tally.rightAccepted, tally.trials)) + " (" +
                          std::to_string(percent(tally.wrongAccepted, tally.trials)) + "), " +
                          std::to_string(percent(tally.right, tally.trials));
               });
    if (!others.empty())
        printTable("Other speech accepted", others, [](const Tally &tally) {
            return std::to_string(tally.accepted) + " of " + std::to_string(tally.trials);
        });
    printTable("End behind the true one in ms, p5/p50/p95, in brackets how many the audio's end "
               "had to end",
               commands, [](const Tally &tally) {
                   return std::to_string(percentile(tally.lateMs, 0.05)) + "/" +
                          std::to_string(percentile(tally.lateMs, 0.5)) + "/" +
                          std::to_string(percentile(tally.lateMs, 0.95)) + " (" +
                          std::to_string(tally.open) + ")";
               });
}

void writeDetails(const std::vector<Trial> &trials, const std::string &file)
{
    constexpr const char *kKinds[] = {"command", "other", "nearly right"};
    std::ofstream stream{file};
    stream << "kind\trow\tcondition\tfile\tright\taccepted\tconf\tlateMs\twanted\theard\t"
              "command\tfit\n";
    for (const Trial &trial : trials)
        stream << kKinds[static_cast<int>(trial.kind)] << '\t' << trial.row << '\t'
               << trial.condition->name << '\t' << trial.clip->file << '\t' << trial.isRight << '\t'
               << trial.isAccepted << '\t' << trial.utterance.confidence << '\t'
               << trial.utterance.endMs - trial.clip->endMs << '\t' << trial.clip->label << '\t'
               << trial.utterance.heard << '\t' << trial.utterance.command << '\t'
               << trial.utterance.fit << '\n';
}

bool readOptions(int argc, char **argv, Options *options)
{
    const std::map<std::string, std::string *> texts = {{"--asr", &options->asr},
                                                        {"--vad", &options->vad},
                                                        {"--sets", &options->sets},
                                                        {"--rooms", &options->rooms},
                                                        {"--details", &options->details}};
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--no-other") {
            options->other = false;
            continue;
        }
        if (!word.starts_with("--")) {
            options->list = word;
            continue;
        }
        if (++i == argc) return false;
        const std::string value = argv[i];
        const auto number = static_cast<unsigned>(std::max(0, std::atoi(value.c_str())));
        if (auto text = texts.find(word); text != texts.end())
            *text->second = value;
        else if (word == "--pause")
            options->pauseMs = static_cast<int>(number);
        else if (word == "--threshold")
            options->threshold = std::atof(value.c_str());
        else if (word == "--every")
            options->every = std::max(1U, number);
        else if (word == "--from")
            options->from = number;
        else if (word == "--seed")
            options->seed = number;
        else if (word == "--threads")
            options->threads = std::max(1U, number);
        else
            return false;
    }
    return !options->list.empty();
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    if (!readOptions(argc, argv, &options)) {
        std::cerr << "usage: accuracy_people [options] LIST; the options are in "
                     "bench/accuracy_people.cpp\n";
        return 2;
    }
    const Corpus corpus = readCorpus(options.list);
    if (ostrel_library_load("{}") != 0) return 1;
    for (const auto &[name, jsgf] : corpus.grammars)
        if (!compile(name, jsgf)) return 1;
    std::vector<Trial> trials = Trials{corpus, options}.take();
    const std::clock_t before = std::clock();
    if (trials.empty() || !runTrials(&trials, corpus, options)) {
        std::cerr << (trials.empty() ? "nothing to measure\n" : "the engine failed\n");
        return 1;
    }
    const double processor = static_cast<double>(std::clock() - before) / CLOCKS_PER_SEC;
    double seconds = 0;
    for (const Trial &trial : trials)
        seconds += trial.audioMs / 1000.0;
    printTables(trials);
    std::printf("\n%zu trials, %.0f s of audio; processor time %.3f of it, making the noise "
                "included\n",
                trials.size(), seconds, processor / seconds);
    if (!options.details.empty()) writeDetails(trials, options.details);
    ostrel_library_release();
    return 0;
}
