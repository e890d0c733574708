// Lets every single step of one kind fail in turn, over initialisation, an instance, one dialog
// turn and their end:
//
//   failures memory|threads|files|engine [FIRST [LAST]]
//
// Each failure happens in a process of its own. Then nothing may crash, hang or stay behind;
// whoever got no reply has been told, by a result, an event or the log; and the next instance
// works. It ends with 0 when all that holds at each step.
#include "contracts/quillon.h"
#include "include/vantel/vantel.h"
#include "tests/support/folder.h"
#include "tests/support/scripted_engine.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

enum Kind { kMemory, kThreads, kFiles, kEngine, kKinds };
constexpr const char *kNames[] = {"memory", "threads", "files", "engine"};

std::atomic<int> failing{kKinds};   // the kind whose steps are counted
std::atomic<int64_t> steps{0};      // of that kind, so far
std::atomic<int64_t> failsAt{0};    // 0: none
std::atomic<int64_t> liveBlocks{0}; // of the heap
thread_local bool isOurs = false;   // what this program does itself does not fail

bool failsNow(Kind kind)
{
    return kind == failing && !isOurs && ++steps == failsAt;
}

// The function that would have been called.
template <typename Function> Function real(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

void *counted(void *block)
{
    if (block) ++liveBlocks;
    return block;
}

} // namespace

// These stand in front of the system's for all libraries of the process, which must see them.
#pragma GCC visibility push(default)
extern "C" {

void *__libc_malloc(size_t);
void *__libc_calloc(size_t, size_t);
void *__libc_realloc(void *, size_t);
void __libc_free(void *);

void *malloc(size_t bytes)
{
    if (!failsNow(kMemory)) return counted(__libc_malloc(bytes));
    errno = ENOMEM;
    return nullptr;
}

void *calloc(size_t count, size_t bytes)
{
    if (!failsNow(kMemory)) return counted(__libc_calloc(count, bytes));
    errno = ENOMEM;
    return nullptr;
}

void *realloc(void *block, size_t bytes)
{
    if (failsNow(kMemory)) {
        errno = ENOMEM;
        return nullptr;
    }
    void *moved = __libc_realloc(block, bytes);
    if (!block) counted(moved);
    return moved;
}

void free(void *block)
{
    if (block) --liveBlocks;
    __libc_free(block);
}

int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*start)(void *),
                   void *argument)
{
    static const auto next = real<decltype(&pthread_create)>("pthread_create");
    return failsNow(kThreads) ? EAGAIN : next(thread, attributes, start, argument);
}

FILE *fopen(const char *path, const char *mode)
{
    static const auto next = real<decltype(&fopen)>("fopen");
    errno = EMFILE;
    return failsNow(kFiles) ? nullptr : next(path, mode);
}

int open(const char *path, int flags, ...)
{
    static const auto next = real<int (*)(const char *, int, mode_t)>("open");
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = flags & O_CREAT ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    errno = EMFILE;
    return failsNow(kFiles) ? -1 : next(path, flags, mode);
}

int mkdir(const char *path, mode_t mode)
{
    static const auto next = real<decltype(&mkdir)>("mkdir");
    errno = EROFS;
    return failsNow(kFiles) ? -1 : next(path, mode);
}

size_t fwrite(const void *data, size_t size, size_t count, FILE *stream)
{
    static const auto next = real<decltype(&fwrite)>("fwrite");
    errno = ENOSPC;
    return failsNow(kFiles) ? 0 : next(data, size, count, stream);
}

int fflush(FILE *stream)
{
    static const auto next = real<decltype(&fflush)>("fflush");
    errno = ENOSPC;
    return failsNow(kFiles) ? EOF : next(stream);
}

} // extern "C"
#pragma GCC visibility pop

namespace
{

struct Outcome {
    std::atomic<int> replies{0};
    std::atomic<int> errors{0};
    bool isRefused = false; // by a result
};

char *onEvent(void *user, const void *, uint32_t, int32_t type, int32_t event)
{
    auto *outcome = static_cast<Outcome *>(user);
    if (type != VANTEL_TYPE_JSON) return nullptr;
    if (event == VANTEL_EVENT_DM_OUTPUT) ++outcome->replies;
    if (event == VANTEL_EVENT_ERROR) ++outcome->errors;
    return nullptr;
}

// Returns when the nodes have handled all that they told each other: each answers a call behind
// what came before it.
void settle(void *probe)
{
    for (int round = 0; round < 4; ++round)
        for (const char *path : {"/localVad/x", "/localDms/x", "/localProcessor/x"})
            quillon_call(probe, path, nullptr, 0);
}

void takeTurn(void *handle, Outcome *outcome)
{
    static const std::string pcm(640, 'p');
    isOurs = true;
    void *probe =
        quillon_node_new(*static_cast<void **>(handle), "probe", nullptr, nullptr, nullptr);
    isOurs = false;
    if (vantelStartDialog(handle) != 0) outcome->isRefused = true;
    settle(probe);
    for (int i = 0; i < 40; ++i)
        if (vantelFeedData(handle, pcm.data(), static_cast<int32_t>(pcm.size())) != 0)
            outcome->isRefused = true;
    settle(probe);
    quillon_node_delete(probe);
}

void run(const Folder &folder, Outcome *outcome)
{
    isOurs = true;
    const std::string init = R"({"level":3,"logDirPath":")" + folder.path() + "\"}";
    const std::string params =
        R"({"homePath":")" + folder.path() +
        R"(","vad":{"cachePcm":"true"},"asr":{},"gram":{},"recorder":{"mode":"external"}})";
    isOurs = false;
    if (vantelInit(init.c_str()) != 0) outcome->isRefused = true;
    void *handle = vantelNew(params.c_str(), onEvent, outcome);
    if (handle) takeTurn(handle, outcome);
    outcome->isRefused |= !handle;
    vantelDelete(handle);
    vantelRelease();
}

bool logTellsAnError(const Folder &folder)
{
    return folder.read("cache/log/vantel.log").find(" [E] ") != std::string::npos ||
           folder.read("cache/log/quillon.log").find(" [E] ") != std::string::npos;
}

// In a process of its own; its end tells what went wrong.
enum Verdict { kFine, kNotTold, kNextFails, kLeaks };
constexpr const char *kVerdicts[] = {"fine", "no reply and nobody was told",
                                     "the next instance does not work", "memory stays behind"};

Verdict fail(Kind kind, int64_t step)
{
    isOurs = true;
    Folder folder;
    Folder nextFolder;
    Outcome outcome;
    const int64_t blocks = liveBlocks;
    isOurs = false;
    steps = 0;
    failsAt = step;
    failing = kind;
    if (kind == kEngine) scripted::failCall(step);
    run(folder, &outcome);
    failing = kKinds;
    scripted::failCall(0);
    const int64_t left = liveBlocks - blocks;
    const bool isTold = outcome.isRefused || outcome.errors > 0 || logTellsAnError(folder);
    Outcome next;
    run(nextFolder, &next);
    if (left > 0) std::fprintf(stderr, "%lld blocks: ", static_cast<long long>(left));
    if (left > 0) return kLeaks;
    if (next.replies != 1) return kNextFails;
    // A file that cannot be written is no reason to give no reply.
    return outcome.replies == 1 || isTold ? kFine : kNotTold;
}

// False when it went wrong, which is then said.
bool stepHolds(Kind kind, int64_t step)
{
    constexpr unsigned kHungSeconds = 60;
    const pid_t child = fork();
    if (child == 0) {
        alarm(kHungSeconds);
        _exit(fail(kind, step));
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (WIFEXITED(status) && WEXITSTATUS(status) == kFine) return true;
    const char *what = "crashed";
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGALRM) what = "hung";
    if (WIFEXITED(status) && WEXITSTATUS(status) <= kLeaks) what = kVerdicts[WEXITSTATUS(status)];
    std::fprintf(stderr, "%s, step %lld: %s\n", kNames[kind], static_cast<long long>(step), what);
    return false;
}

} // namespace

int main(int count, char **arguments)
{
    Kind kind = kMemory;
    while (kind < kKinds && count > 1 && std::strcmp(arguments[1], kNames[kind]) != 0)
        kind = static_cast<Kind>(kind + 1);
    if (count < 2 || kind == kKinds) return 2;
    scripted::playTurns();
    // The first run makes what stays for the process, the second tells how many steps there are.
    Outcome outcome;
    run(Folder{}, &outcome);
    failing = kind;
    steps = 0;
    scripted::failCall(-1);
    run(Folder{}, &outcome);
    failing = kKinds;
    const int64_t all = kind == kEngine ? scripted::countedCalls() : steps.load();
    const int64_t first = count > 2 ? std::atoll(arguments[2]) : 1;
    const int64_t last = count > 3 ? std::atoll(arguments[3]) : all;
    const int64_t tried = last - first + 1;
    int64_t wrong = 0;
    for (int64_t step = first; step <= last; ++step)
        wrong += stepHolds(kind, step) ? 0 : 1;
    std::printf("%s: %lld steps, %lld went wrong; %d of 2 runs without a failure replied\n",
                kNames[kind], static_cast<long long>(tried), static_cast<long long>(wrong),
                outcome.replies.load());
    return wrong == 0 && all > 0 && outcome.replies == 2 ? 0 : 1;
}
