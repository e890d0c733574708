// What the library adds to its recogniser: processor time against the bare engine doing the same
// passes over the same audio in the same run; how soon a reply follows the end of speech; memory
// and time of the first instance and of each further one. Prints a table.
//
//   bench_library [RECORDING]   raw 16 kHz samples; one spoken command with silence around it
#include "contracts/ostrel.h"
#include "tools/json.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vantel/vantel.h>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr int kChunkBytes = 640; // 20 ms
constexpr int kRounds = 7;       // alternating, the median counts
constexpr int kTurnsARound = 3;
constexpr int kPacedTurns = 12;
constexpr int kFurtherInstances = 8;

constexpr char kVad[] = R"({"pauseTime":500})";
constexpr char kGrammar[] =
    R"({"name":"bench","text":"#JSGF V1.0; grammar bench; public <go> = go (forward | backward))"
    R"( (one | two | three | ten) meters {\"dm\":{\"command\":{\"api\":\"go\"}}};"})";

std::string asrConfiguration(const std::string &ngram)
{
    return R"({"grammar":"bench","ngram":")" + ngram + R"("})";
}

std::string instanceConfiguration(const std::string &ngram)
{
    return std::string(R"({"recorder":{"mode":"external"},"vad":)") + kVad + R"(,"gram":)" +
           kGrammar + R"(,"asr":)" + asrConfiguration(ngram) + "}";
}

double milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

double processorMs()
{
    return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values[static_cast<size_t>(std::lround(share * static_cast<double>(values.size() - 1)))];
}

// Resident megabytes of the process.
double residentMb()
{
    std::ifstream statm{"/proc/self/statm"};
    long pages = 0;
    statm >> pages >> pages;
    return static_cast<double>(pages) * 4096 / 1e6;
}

std::vector<char> readAudio(const char *path)
{
    std::ifstream file{path, std::ios::binary};
    std::vector<char> audio{std::istreambuf_iterator<char>{file}, {}};
    audio.resize(audio.size() + 32000, 0); // a second of silence, so that speech ends
    return audio;
}

// The engine alone: the detector cuts, the recogniser hears the speech, one thread.
class Bare
{
public:
    explicit Bare(const std::string &ngram)
    {
        void *grammar = ostrel_gram_new(kGrammar);
        ostrel_gram_start(grammar, kGrammar);
        ostrel_gram_delete(grammar);
        asr_ = ostrel_asr_new(asrConfiguration(ngram).c_str(), onResult, this);
        vad_ = ostrel_vad_new(kVad, onVad, this);
    }
    ~Bare()
    {
        ostrel_asr_delete(asr_);
        ostrel_vad_delete(vad_);
    }

    // False when the turn brought no result.
    bool turn(const std::vector<char> &audio)
    {
        results_ = 0;
        ended_ = false;
        ostrel_vad_start(vad_, R"({"pauseTime":500})");
        ostrel_asr_start(asr_, R"({"env":"use_pinyin=1;use_xbnf_rec=1;"})");
        for (size_t at = 0; at < audio.size() && !ended_; at += kChunkBytes) {
            size_t bytes = std::min<size_t>(kChunkBytes, audio.size() - at);
            ostrel_vad_feed(vad_, audio.data() + at, static_cast<int32_t>(bytes));
        }
        ostrel_vad_stop(vad_);
        ostrel_asr_stop(asr_);
        return results_ > 0;
    }

private:
    static int32_t onVad(void *user, int32_t kind, const void *data, int32_t length)
    {
        Bare *bare = static_cast<Bare *>(user);
        if (kind != 0) {
            ostrel_asr_feed(bare->asr_, data, length);
            return 0;
        }
        std::string text(static_cast<const char *>(data), static_cast<size_t>(length));
        vantel::Json status = vantel::jsonParse(text.c_str());
        if (vantel::jsonInt(status.get(), "status", 0) == 2) bare->ended_ = true;
        return 0;
    }
    static int32_t onResult(void *user, int32_t, const void *, int32_t)
    {
        ++static_cast<Bare *>(user)->results_;
        return 0;
    }

    void *vad_ = nullptr;
    void *asr_ = nullptr;
    bool ended_ = false;
    int results_ = 0;
};

// The whole library, one turn after the other.
class Whole
{
public:
    explicit Whole(const std::string &ngram)
        : handle_(vantelNew(instanceConfiguration(ngram).c_str(), onEvent, this))
    {
    }
    ~Whole() { vantelDelete(handle_); }

    // False when the turn brought no reply. `paced`: at the pace of speech.
    bool turn(const std::vector<char> &audio, bool paced, double *replyMs)
    {
        {
            std::lock_guard locked{mutex_};
            status_.clear();
            isSpeechOver_ = false;
            hasReply_ = false;
        }
        vantelStartDialog(handle_);
        // Audio that comes before the detector runs is not heard.
        if (!waitFor("listening")) return false;
        auto due = Clock::now();
        for (size_t at = 0; at < audio.size() && !isSpeechOver(); at += kChunkBytes) {
            size_t bytes = std::min<size_t>(kChunkBytes, audio.size() - at);
            vantelFeedData(handle_, audio.data() + at, static_cast<int32_t>(bytes));
            due += std::chrono::milliseconds(20);
            if (paced) std::this_thread::sleep_until(due);
        }
        bool over = waitFor("silence");
        std::lock_guard locked{mutex_};
        if (replyMs) *replyMs = milliseconds(replied_ - speechOver_);
        return over && hasReply_;
    }

private:
    bool waitFor(const std::string &status)
    {
        std::unique_lock locked{mutex_};
        return changed_.wait_for(locked, std::chrono::seconds(30),
                                 [&] { return status_ == status; });
    }

    bool isSpeechOver()
    {
        std::lock_guard locked{mutex_};
        return isSpeechOver_;
    }

    static char *onEvent(void *user, const void *data, uint32_t length, int32_t type, int32_t event)
    {
        Whole *whole = static_cast<Whole *>(user);
        if (type != VANTEL_TYPE_JSON) return nullptr;
        std::string text(static_cast<const char *>(data), length);
        std::lock_guard locked{whole->mutex_};
        if (event == VANTEL_EVENT_VAD && text.find("\"status\":2") != std::string::npos) {
            whole->isSpeechOver_ = true;
            whole->speechOver_ = Clock::now();
        }
        if (event == VANTEL_EVENT_DM_OUTPUT) {
            whole->hasReply_ = true;
            whole->replied_ = Clock::now();
        }
        if (event == VANTEL_EVENT_STATUS) {
            vantel::Json status = vantel::jsonParse(text.c_str());
            const char *name = vantel::jsonString(status.get(), "status");
            whole->status_ = name ? name : "";
            whole->changed_.notify_all();
        }
        return nullptr;
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string status_;
    bool isSpeechOver_ = false;
    bool hasReply_ = false;
    Clock::time_point speechOver_;
    Clock::time_point replied_;
    void *handle_;
};

bool fail(const char *what)
{
    std::fprintf(stderr, "bench_library: %s\n", what);
    return false;
}

// Processor time of the whole library over that of the engine alone.
bool compareProcessorTime(const std::vector<char> &audio, const std::string &ngram)
{
    Bare bare{ngram};
    Whole whole{ngram};
    const bool isBareRight = bare.turn(audio);
    const bool isWholeRight = whole.turn(audio, false, nullptr);
    if (!isBareRight) return fail("the engine alone recognises nothing");
    if (!isWholeRight) return fail("the library recognises nothing");
    std::vector<double> ratios;
    std::vector<double> bareMs;
    for (int round = 0; round < kRounds; ++round) {
        double begin = processorMs();
        for (int i = 0; i < kTurnsARound; ++i)
            bare.turn(audio);
        double middle = processorMs();
        for (int i = 0; i < kTurnsARound; ++i)
            if (!whole.turn(audio, false, nullptr)) return fail("a turn brought no reply");
        double end = processorMs();
        bareMs.push_back((middle - begin) / kTurnsARound);
        ratios.push_back((end - middle) / (middle - begin));
    }
    std::printf("processor time, library / engine, %-9s  %5.3f  (engine %.0f ms a turn)\n",
                (ngram == "none" ? "grammar" : "both"), percentile(ratios, 0.5),
                percentile(bareMs, 0.5));
    return true;
}

bool measureReply(const std::vector<char> &audio, const std::string &ngram)
{
    Whole whole{ngram};
    std::vector<double> replies;
    for (int i = 0; i <= kPacedTurns; ++i) {
        double replyMs = 0;
        if (!whole.turn(audio, true, &replyMs)) return fail("a turn brought no reply");
        if (i > 0) replies.push_back(replyMs); // the first one warms up
    }
    std::printf("end of speech to reply, ms, %-9s  p50 %.0f  p95 %.0f\n",
                (ngram == "none" ? "grammar" : "both"), percentile(replies, 0.5),
                percentile(replies, 0.95));
    return true;
}

void measureInstances(const std::vector<char> &audio, const std::string &ngram, double startMb,
                      Clock::time_point start)
{
    std::vector<std::unique_ptr<Whole>> instances;
    instances.push_back(std::make_unique<Whole>(ngram));
    double firstMs = milliseconds(Clock::now() - start);
    instances.back()->turn(audio, false, nullptr);
    double firstMb = residentMb();
    Clock::time_point before = Clock::now();
    for (int i = 0; i < kFurtherInstances; ++i)
        instances.push_back(std::make_unique<Whole>(ngram));
    double furtherMs = milliseconds(Clock::now() - before) / kFurtherInstances;
    for (const auto &instance : instances)
        instance->turn(audio, false, nullptr);
    double furtherMb = (residentMb() - firstMb) / kFurtherInstances;
    instances.clear();
    std::vector<std::unique_ptr<Bare>> engines;
    double beforeMb = residentMb();
    for (int i = 0; i < kFurtherInstances; ++i) {
        engines.push_back(std::make_unique<Bare>(ngram));
        engines.back()->turn(audio);
    }
    double engineMb = (residentMb() - beforeMb) / kFurtherInstances;
    std::printf("set-up, ms                   library and first instance %.0f, each further %.0f\n",
                firstMs, furtherMs);
    std::printf(
        "memory after a turn, MB      library and first instance %.0f, each further %.1f, of "
        "which engine %.1f\n",
        firstMb - startMb, furtherMb, engineMb);
}

} // namespace

int main(int argc, char **argv)
{
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    const char *path = argc > 1 ? argv[1] : "/usr/share/pocketsphinx/test/data/goforward.raw";
    std::vector<char> audio = readAudio(path);
    double startMb = residentMb();
    Clock::time_point start = Clock::now();
    if (vantelInit(R"({"level":6})") != 0) return fail("the engine cannot be loaded"), 1;
    measureInstances(audio, "auto", startMb, start);
    bool good = compareProcessorTime(audio, "none") && compareProcessorTime(audio, "auto") &&
                measureReply(audio, "none") && measureReply(audio, "auto");
    vantelRelease();
    return good ? 0 : 1;
}
