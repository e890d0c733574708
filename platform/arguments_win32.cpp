// The command line in full: main gets it in the system's code page, which cannot hold every name.
#include "platform/arguments.h"
#include "platform/win32_text.h"

#include <shellapi.h>

namespace vantel
{

std::vector<std::string> platformArguments(int count, char **values)
{
    SetConsoleOutputCP(CP_UTF8);
    int wideCount = 0;
    wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &wideCount);
    if (!wide) return {values, values + count};
    std::vector<std::string> arguments;
    for (int i = 0; i < wideCount; ++i)
        arguments.push_back(narrow(wide[i]));
    LocalFree(wide);
    return arguments;
}

} // namespace vantel
