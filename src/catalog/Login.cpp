#include "catalog/Login.h"

#include "catalog/Database.h"
#include "data/Connection.h"
#include "data/ConnectionString.h"

namespace QuillonLib {

namespace {

void Open(Connection& connection, const LoginData& login, std::u16string_view database) {
    connection.Open(BuildConnectionString(login.Server, database, login.NTSecurity, login.Username,
                                          login.Password));
}

}  // namespace

std::shared_ptr<Connection> LogIn(const LoginData& login) {
    auto connection = std::make_shared<Connection>();
    Open(*connection, login, u"");
    return connection;
}

std::shared_ptr<Connection> LogIn(const LoginData& login, std::chrono::seconds timeout) {
    auto connection = std::make_shared<Connection>();
    connection->LoginTimeout(timeout);
    Open(*connection, login, u"");
    return connection;
}

std::shared_ptr<Connection> OpenConnection(const Database& obDatabase) {
    auto connection = std::make_shared<Connection>();
    OpenConnection(obDatabase, *connection);
    return connection;
}

void OpenConnection(const Database& obDatabase, Connection& connection) {
    connection.CommandTimeout(std::chrono::seconds(0));
    Open(connection, obDatabase.Login(), obDatabase.DatabaseName());
}

}  // namespace QuillonLib
