// How to log in to a server.
#pragma once

#include <string>

namespace QuillonLib {

struct LoginData {
    std::u16string Server;
    std::u16string Username;  // ignored with NTSecurity
    std::u16string Password;  // ignored with NTSecurity
    bool NTSecurity = false;  // integrated login: neither name nor password is sent
};

}  // namespace QuillonLib
