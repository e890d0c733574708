#include "tools/line_log.h"

#include "tools/line_text.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

namespace vantel
{
namespace
{

constexpr char kLevelLetters[] = "-VDIWE-";
// The newline and the zero byte come on top.
constexpr size_t kTextBytes = kLogLineBytes - 2;

class Locked
{
public:
    explicit Locked(quenda_mk_mutex *mutex) : mutex_(mutex) { quenda_mk_mutex_lock(mutex_); }
    ~Locked() { quenda_mk_mutex_unlock(mutex_); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

private:
    quenda_mk_mutex *mutex_;
};

bool isLeapYear(int32_t year)
{
    return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

int32_t daysInMonth(int32_t year, int32_t month)
{
    constexpr int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

// Standard output, or nothing, when there is no path, or it cannot be opened.
void openStream(LineLog *log, const char *mode)
{
    log->stream = log->path.empty() ? nullptr : platformOpenPrivateFile(log->path.c_str(), mode);
    log->position = 0;
    if (!log->stream) {
        if (!log->isFileOnly) log->stream = stdout;
        return;
    }
    // Every line is written at once anyway, so a buffer would only be one more copy.
    std::setvbuf(log->stream, nullptr, _IONBF, 0);
    if (std::fseek(log->stream, 0, SEEK_END) == 0)
        log->position = std::max(std::ftell(log->stream), 0L);
}

// Starts the file afresh once it has reached its limit.
void rollOver(LineLog *log)
{
    if (log->stream == stdout || log->sizeLimitBytes <= 0) return;
    if (const int64_t end = log->isAppended ? platformFileEnd(log->stream) : -1; end >= 0)
        log->position = end;
    if (static_cast<float>(log->position) < log->sizeLimitBytes) return;
    int64_t oldBytes = log->position;
    std::fclose(log->stream);
    openStream(log, "wb");
    if (log->isAppended && log->stream && log->stream != stdout) {
        // Emptied; what other processes append from now on must not be written over.
        std::fclose(log->stream);
        openStream(log, "ab");
    }
    if (!log->stream) return;
    int written = std::fprintf(log->stream, "\nlog file size: %d, remove file:  %s\n\n",
                               static_cast<int>(oldBytes), log->path.c_str());
    log->position += std::max(written, 0);
}

// "[pid:tid]date" is made anew when the second or the thread has changed; converting the date costs
// more than the rest of the line. Returns the milliseconds that belong behind it.
int refreshHead(LineLog *log)
{
    int64_t nowMs = platformWallClockMs();
    uint32_t thread = platformThreadId();
    // A second may pass while the date is made; the text is kept for the second that it shows.
    while (nowMs / 1000 != log->headSecond || thread != log->headThread) {
        if (nowMs / 1000 != log->headSecond)
            formatLogDate(platformLocalTime(), log->date, sizeof log->date);
        log->headSecond = nowMs / 1000;
        log->headThread = thread;
        int written = std::snprintf(log->head, sizeof log->head, "[%05u:%05u]%s",
                                    platformProcessId(), thread, log->date);
        log->headBytes = static_cast<size_t>(written);
        nowMs = platformWallClockMs();
    }
    return static_cast<int>(nowMs % 1000);
}

void writeLine(LineLog *log, const char *text, size_t bytes)
{
    if (log->stream == stdout) {
        std::fwrite(text, 1, bytes, stdout);
        std::fflush(stdout);
    } else {
        log->position += static_cast<int64_t>(platformWriteThrough(log->stream, text, bytes));
    }
}

// But for the newline that ends the message.
void maskControls(char *begin, char *end)
{
    if (begin != end && end[-1] == '\n') --end;
    std::replace_if(
        begin, end, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, '?');
}

// "[pid:tid]date.millis [L] file#line#"
char *appendPrefix(LineLog *log, char *out, const char *end, int32_t level, const char *file,
                   int32_t line)
{
    int milliseconds = refreshHead(log);
    // All of it, since a copy of constant size needs no call; what is behind is written over.
    std::memcpy(out, log->head, sizeof log->head);
    out += log->headBytes;
    const char tail[] = {'.',
                         static_cast<char>('0' + milliseconds / 100),
                         static_cast<char>('0' + milliseconds / 10 % 10),
                         static_cast<char>('0' + milliseconds % 10),
                         ' ',
                         '[',
                         level >= 0 && level <= 6 ? kLevelLetters[level] : '-',
                         ']',
                         ' '};
    out = std::copy(std::begin(tail), std::end(tail), out);
    // Room for the line number behind a path of any length.
    out = appendText(out, end - 16, file);
    *out++ = '#';
    out = appendAligned(out, line);
    *out++ = '#';
    return out;
}

} // namespace

void formatLogDate(const LocalTime &local, char *out, size_t outBytes)
{
    LocalTime utc;
    int64_t seconds = platformLocalToEpoch(local);
    if (seconds == -1 || !platformEpochToUtc(seconds, &utc)) utc = {1900, 1, 0, 0, 0, 0, 0};
    utc.hour += 8;
    if (utc.hour > 23) {
        utc.hour -= 24;
        if (++utc.day > daysInMonth(utc.year, utc.month)) {
            utc.day = 1;
            if (++utc.month > 12) {
                utc.month = 1;
                ++utc.year;
            }
        }
    }
    std::snprintf(out, outBytes, "%02d-%02d-%02d %02d:%02d:%02d", utc.year, utc.month, utc.day,
                  utc.hour, utc.minute, utc.second);
}

void lineLogInit(LineLog *log, int32_t threshold, const char *path, int32_t mode, float sizeMb)
{
    if (!log->mutex) quenda_mk_mutex_create(&log->mutex);
    Locked locked{&log->mutex};
    if (!log->stream) {
        log->path = path ? path : "";
        log->sizeLimitBytes = sizeMb * 1024.0F * 1024.0F;
        log->isAppended = mode != 0;
        openStream(log, log->isAppended ? "ab" : "wb");
    }
    if (!log->line) log->line.reset(new (std::nothrow) char[kLogLineBytes]);
    log->threshold = threshold;
    log->gate.store(threshold, std::memory_order_release);
}

void lineLogRelease(LineLog *log)
{
    {
        Locked locked{&log->mutex};
        log->gate.store(kLogNothing, std::memory_order_release);
        if (log->stream && log->stream != stdout) std::fclose(log->stream);
        log->stream = nullptr;
        log->line.reset();
        log->path.clear();
        log->path.shrink_to_fit();
    }
    quenda_mk_mutex_destroy(&log->mutex);
}

void lineLogPrintV(LineLog *log, int32_t level, const char *file, int32_t line, const char *format,
                   va_list arguments)
{
    if (!lineLogEnabled(log, level)) return;
    Locked locked{&log->mutex};
    if (!log->stream || !log->line || level < log->threshold) return;
    char *begin = log->line.get();
    char *end = begin + kTextBytes;
    char *out = appendPrefix(log, begin, end, level, file, line);
    char *message = out;
    out = appendFormat(out, end, format, arguments);
    if (log->isOneLineEach) maskControls(message, out);
    if (out[-1] != '\n') *out++ = '\n';
    *out = '\0';
    rollOver(log);
    if (log->stream) writeLine(log, begin, static_cast<size_t>(out - begin));
}

void lineLogPrint(LineLog *log, int32_t level, const char *file, int32_t line, const char *format,
                  ...)
{
    va_list arguments;
    va_start(arguments, format);
    lineLogPrintV(log, level, file, line, format, arguments);
    va_end(arguments);
}

} // namespace vantel
