// How to log in to a server.
#pragma once

#include <chrono>
#include <memory>
#include <string>

namespace QuillonLib {

class StatementListener;

struct LoginData {
    std::u16string Server;
    std::u16string Username;  // ignored with NTSecurity
    std::u16string Password;  // ignored with NTSecurity
    bool NTSecurity = false;  // integrated login: neither name nor password is sent
    std::u16string Driver{};  // the name or the file of the ODBC driver; empty: "SQL Server"
    // More of the connection string, placed behind the rest as it stands: "encryption=require".
    std::u16string Keywords{};
    std::chrono::seconds LoginTimeout{15};          // 0: none
    std::chrono::seconds CommandTimeout{0};         // for each batch; 0: none
    std::shared_ptr<StatementListener> Listener{};  // of all connections; null: nobody
};

}  // namespace QuillonLib
