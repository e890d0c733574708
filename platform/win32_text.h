// Between UTF-8 and the system's UTF-16, for the files of the Windows layer.
#pragma once

#include <string>
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

namespace vantel
{

inline std::wstring widen(const char *text)
{
    int units = MultiByteToWideChar(CP_UTF8, 0, text, -1, nullptr, 0);
    if (units <= 0) return {};
    std::wstring wide(static_cast<size_t>(units), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide.data(), units);
    wide.pop_back(); // the terminator that the count includes
    return wide;
}

inline std::string narrow(const wchar_t *text)
{
    int bytes = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (bytes <= 0) return {};
    std::string utf8(static_cast<size_t>(bytes), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, utf8.data(), bytes, nullptr, nullptr);
    utf8.pop_back();
    return utf8;
}

} // namespace vantel
