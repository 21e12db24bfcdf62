#include <windows.h>

#include <string>

#include "util/EventLog.h"

namespace QuillonLib {

namespace {

constexpr std::size_t LongestEntry = 31839;

// The log fills "%1" with something else, and takes no entry that is too long.
std::wstring AsEntry(std::u16string_view text) {
    std::wstring entry;
    for (const char16_t unit : text) {
        if (unit >= u'0' && unit <= u'9' && entry.ends_with(L'%')) entry += L' ';
        entry += static_cast<wchar_t>(unit);
    }
    if (entry.size() > LongestEntry) entry.resize(LongestEntry);
    return entry;
}

}  // namespace

void WriteErrorToEventLog(std::u16string_view text) {
    const std::wstring entry = AsEntry(text);
    const HANDLE log = RegisterEventSourceW(nullptr, L"QuillonLib");
    if (log == nullptr) return;
    const wchar_t* strings[] = {entry.c_str()};
    ReportEventW(log, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, strings, nullptr);
    DeregisterEventSource(log);
}

}  // namespace QuillonLib
