#include "util/EventLog.h"

#include <string>

#include "core/Text.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <syslog.h>
#endif

namespace QuillonLib {

#ifdef _WIN32

void WriteErrorToEventLog(std::u16string_view text) {
    const HANDLE log = RegisterEventSourceW(nullptr, L"QuillonLib");
    if (log == nullptr) return;
    const std::wstring entry(text.begin(), text.end());
    const wchar_t* strings[] = {entry.c_str()};
    ReportEventW(log, EVENTLOG_ERROR_TYPE, 0, 0, nullptr, 1, 0, strings, nullptr);
    DeregisterEventSource(log);
}

#else

void WriteErrorToEventLog(std::u16string_view text) {
    syslog(LOG_USER | LOG_ERR, "%s", ToUtf8(text).c_str());
}

#endif

}  // namespace QuillonLib
