#include "catalog/Login.h"

#include "catalog/Database.h"
#include "data/Connection.h"
#include "data/ConnectionString.h"

namespace QuillonLib {

namespace {

void Open(Connection& connection, const LoginData& login, std::u16string_view database) {
    std::u16string text =
        BuildConnectionString(login.Server, database, login.NTSecurity, login.Username,
                              login.Password, login.Driver.empty() ? DefaultDriver : login.Driver);
    if (!login.Keywords.empty()) text += u";" + login.Keywords;
    connection.Listener(login.Listener);
    connection.Open(text);
}

}  // namespace

std::shared_ptr<Connection> LogIn(const LoginData& login) {
    return LogIn(login, login.LoginTimeout);
}

std::shared_ptr<Connection> LogIn(const LoginData& login, std::chrono::seconds timeout) {
    auto connection = std::make_shared<Connection>();
    connection->LoginTimeout(timeout);
    connection->CommandTimeout(login.CommandTimeout);
    Open(*connection, login, u"");
    return connection;
}

std::shared_ptr<Connection> OpenConnection(const Database& obDatabase) {
    auto connection = std::make_shared<Connection>();
    OpenConnection(obDatabase, *connection);
    return connection;
}

void OpenConnection(const Database& obDatabase, Connection& connection) {
    const LoginData& login = obDatabase.Login();
    connection.LoginTimeout(login.LoginTimeout);
    connection.CommandTimeout(login.CommandTimeout);
    Open(connection, login, obDatabase.DatabaseName());
}

}  // namespace QuillonLib
