#include "ostrel/asr/decoder_guard.h"

#include "ostrel/library.h"

#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <sphinxbase/err.h>

#define DECODER_LOG(level, ...) ENGINE_LOG("ostrel/decoder", level, __VA_ARGS__)

namespace vantel::ostrel
{
namespace
{

// Where the innermost guarded call of this thread goes on after a fault.
thread_local std::jmp_buf *rescue = nullptr;

int32_t logLevel(err_lvl_t level)
{
    switch (level) {
    case ERR_FATAL:
    case ERR_ERROR:
        return kError;
    case ERR_WARN:
        return kDebug;
    default:
        return kVerbose;
    }
}

// That an utterance does not end where the grammar does is an everyday result, not a fault.
bool isOrdinary(const char *message)
{
    return std::strstr(message, "does not match the grammar") != nullptr;
}

void onMessage(void *, err_lvl_t level, const char *format, ...)
{
    int32_t ours = logLevel(level);
    if (lineLogEnabled(&engineLog(), ours)) {
        char message[1024];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(message, sizeof message, format, arguments);
        va_end(arguments);
        size_t length = std::strlen(message);
        if (length > 0 && message[length - 1] == '\n') message[length - 1] = '\0';
        if (isOrdinary(message)) ours = kDebug;
        DECODER_LOG(ours, "  %s\n", message);
    }
    if (level == ERR_FATAL && rescue) std::longjmp(*rescue, 1);
}

} // namespace

void decoderMessagesToLog()
{
    static std::once_flag done; // other threads may be logging through it already
    std::call_once(done, [] {
        err_set_logfp(nullptr);
        err_set_callback(onMessage, nullptr);
    });
}

bool guardedCall(void (*action)(void *context), void *context)
{
    std::jmp_buf here;
    std::jmp_buf *volatile outer = rescue;
    if (setjmp(here) != 0) {
        rescue = outer;
        return false;
    }
    rescue = &here;
    action(context);
    rescue = outer;
    return true;
}

} // namespace vantel::ostrel
