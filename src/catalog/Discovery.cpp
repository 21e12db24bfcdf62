#include "catalog/Discovery.h"

#include <chrono>
#include <cstdint>
#include <limits>
#include <utility>

#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "core/Error.h"
#include "data/Connection.h"

namespace QuillonLib {

namespace {

constexpr std::chrono::seconds LoginTimeout(20);

}  // namespace

std::optional<TextArray> ToNameArray(std::vector<std::u16string> names) {
    // The names are counted in 16 bits.
    if (names.size() > std::numeric_limits<std::int16_t>::max()) {
        throw Error(ErrorNumber::Overflow, u"Overflow");
    }
    if (names.empty()) return std::nullopt;
    return TextArray(std::move(names), 1);
}

std::vector<std::u16string> NonEmptyNames(const std::vector<std::u16string>& list) {
    std::vector<std::u16string> names;
    for (std::size_t i = 0; i <= list.size(); ++i) {
        const std::u16string name = i < list.size() ? list[i] : std::u16string();
        if (!name.empty()) names.push_back(name);
    }
    return names;
}

std::optional<TextArray> ListAvailableServers(const BrowserSettings& settings) {
    return ToNameArray(NonEmptyNames(BrowseServers(settings)));
}

LoginData DiscoveryLogin(std::u16string_view sServer, std::u16string_view sUser,
                         std::u16string_view sPassword) {
    LoginData login;
    login.Server = sServer;
    login.NTSecurity = sUser.empty();
    if (!login.NTSecurity) {
        login.Username = sUser;
        login.Password = sPassword;
    }
    return login;
}

std::optional<TextArray> ListAvailableDatabases(std::u16string_view sServer,
                                                std::u16string_view sUser,
                                                std::u16string_view sPassword) {
    const LoginData login = DiscoveryLogin(sServer, sUser, sPassword);
    return ToNameArray(CatalogReader(LogIn(login, LoginTimeout)).DatabaseNames());
}

}  // namespace QuillonLib
