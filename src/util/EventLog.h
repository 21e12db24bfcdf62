// The application's event log: the system log on Linux, the Application log on Windows.
#pragma once

#include <string_view>

namespace QuillonLib {

// Writes one entry at error level. Never fails: where the log cannot be reached the entry is lost.
void WriteErrorToEventLog(std::u16string_view text);

}  // namespace QuillonLib
