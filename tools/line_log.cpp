#include "tools/line_log.h"

#include <algorithm>
#include <charconv>
#include <cstring>
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

// Appends a number of at least `width` digits, padded with `pad`, as printf does.
char *appendNumber(char *out, int64_t value, int width, char pad)
{
    char digits[24];
    char *end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    for (auto missing = width - (end - digits); missing > 0; --missing)
        *out++ = pad;
    return std::copy(digits, end, out);
}

char *appendText(char *out, const char *end, const char *text)
{
    size_t bytes = std::min(std::strlen(text), static_cast<size_t>(end - out));
    std::memcpy(out, text, bytes);
    return out + bytes;
}

// Standard output when the kept path cannot be opened.
void openStream(LineLog *log, const char *mode)
{
    log->stream = log->path.empty() ? nullptr : platformOpenFile(log->path.c_str(), mode);
    log->position = 0;
    if (!log->stream) {
        log->stream = stdout;
    } else if (std::fseek(log->stream, 0, SEEK_END) == 0) {
        log->position = std::max(std::ftell(log->stream), 0L);
    }
}

// Starts the file afresh once it has reached its limit.
void rollOver(LineLog *log)
{
    if (log->stream == stdout || log->sizeLimitBytes <= 0) return;
    if (static_cast<float>(log->position) < log->sizeLimitBytes) return;
    int64_t oldBytes = log->position;
    std::fclose(log->stream);
    openStream(log, "wb");
    int written = std::fprintf(log->stream, "\nlog file size: %d, remove file:  %s\n\n",
                               static_cast<int>(oldBytes), log->path.c_str());
    log->position += std::max(written, 0);
}

// The date text changes once a second; converting it costs more than the rest of the line.
void refreshDate(LineLog *log, const LocalTime &now)
{
    int64_t second =
        ((((now.year * 12LL + now.month) * 31 + now.day) * 24 + now.hour) * 60 + now.minute) * 60 +
        now.second;
    if (second == log->dateSecond) return;
    log->dateSecond = second;
    formatLogDate(now, log->date, sizeof log->date);
}

// "[pid:tid]date.millis [L] file#line#"
char *appendPrefix(LineLog *log, char *out, const char *end, int32_t level, const char *file,
                   int32_t line)
{
    LocalTime now = platformLocalTime();
    refreshDate(log, now);
    *out++ = '[';
    out = appendNumber(out, platformProcessId(), 5, '0');
    *out++ = ':';
    out = appendNumber(out, platformThreadId(), 5, '0');
    *out++ = ']';
    out = appendText(out, end, log->date);
    *out++ = '.';
    out = appendNumber(out, now.millisecond, 3, '0');
    *out++ = ' ';
    *out++ = '[';
    *out++ = level >= 0 && level <= 6 ? kLevelLetters[level] : '-';
    *out++ = ']';
    *out++ = ' ';
    // Room for the line number behind a path of any length.
    out = appendText(out, end - 16, file);
    *out++ = '#';
    out = appendNumber(out, line, 4, ' ');
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
        if (path && *path) {
            log->path = path;
            openStream(log, mode != 0 ? "ab" : "wb");
            if (log->stream != stdout) log->sizeLimitBytes = sizeMb * 1024.0F * 1024.0F;
        } else {
            log->stream = stdout;
        }
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
    // vsnprintf counts the terminator; the byte behind kTextBytes takes it.
    int wanted = std::vsnprintf(out, static_cast<size_t>(end - out) + 1, format, arguments);
    out += std::clamp<ptrdiff_t>(wanted, 0, end - out);
    if (out[-1] != '\n') *out++ = '\n';
    *out = '\0';
    rollOver(log);
    size_t bytes = static_cast<size_t>(out - begin);
    log->position += static_cast<int64_t>(std::fwrite(begin, 1, bytes, log->stream));
    std::fflush(log->stream);
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
