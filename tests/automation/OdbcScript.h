// Runs SQL as a script's own client would, so that tests need no data access of the library.
#pragma once

#include <string>

namespace scripthost {

// One batch. Empty when it succeeded, else the server's messages.
std::wstring RunSql(const std::wstring& connectionString, const std::wstring& sql);

}  // namespace scripthost
