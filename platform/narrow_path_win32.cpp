#include "platform/narrow_path.h"
#include "platform/win32_text.h"

namespace vantel
{
namespace
{

// In the code page of narrow texts; empty when that lacks a character.
std::string inCodePage(const std::wstring &wide)
{
    // UTF-8 has every character, and does not take the question whether it has.
    const bool hasAll = GetACP() == CP_UTF8;
    const DWORD flags = hasAll ? 0 : WC_NO_BEST_FIT_CHARS;
    BOOL replaced = FALSE;
    BOOL *isReplaced = hasAll ? nullptr : &replaced;
    char path[4 * MAX_PATH];
    const int bytes = WideCharToMultiByte(CP_ACP, flags, wide.c_str(), -1, path, sizeof path,
                                          nullptr, isReplaced);
    return bytes > 0 && !replaced ? path : "";
}

} // namespace

std::string platformNarrowPath(const std::string &path)
{
    const std::wstring wide = widen(path.c_str());
    std::string narrowed = inCodePage(wide);
    if (!narrowed.empty()) return narrowed;
    // The short names of its folders, where the file system keeps any.
    wchar_t shorter[MAX_PATH];
    const DWORD length = GetShortPathNameW(wide.c_str(), shorter, MAX_PATH);
    return length > 0 && length < MAX_PATH ? inCodePage(shorter) : "";
}

} // namespace vantel
