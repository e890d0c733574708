#include "tools/log.h"

namespace vantel
{
namespace
{

// The one log of the process. Never destroyed: threads may log until the process ends.
LineLog &processLog()
{
    static LineLog *log = new LineLog;
    return *log;
}

} // namespace

void logInit(int32_t threshold, const char *path, int32_t mode, float sizeMb)
{
    lineLogInit(&processLog(), threshold, path, mode, sizeMb);
}

void logRelease()
{
    lineLogRelease(&processLog());
}

bool logEnabled(int32_t level)
{
    return lineLogEnabled(&processLog(), level);
}

void logPrint(int32_t level, const char *file, int32_t line, const char * /*function*/,
              const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    lineLogPrintV(&processLog(), level, file, line, format, arguments);
    va_end(arguments);
}

} // namespace vantel
