// The ways in which the library logs in to a server.
#pragma once

#include <chrono>
#include <memory>

#include "catalog/LoginData.h"

namespace QuillonLib {

class Connection;
class Database;

// For reading the catalog: a login that names no database, so that it proves nothing but that the
// server and the credentials are good. The time-out is the login's own unless it is named.
std::shared_ptr<Connection> LogIn(const LoginData& login);
std::shared_ptr<Connection> LogIn(const LoginData& login, std::chrono::seconds timeout);

// For queries: a login to the database that the object describes, with the time-outs of its login.
// A failure reaches the caller as it is; nothing is recorded.
std::shared_ptr<Connection> OpenConnection(const Database& obDatabase);
// The same into a connection of the caller's, whose Errors() then tell of a failure too.
void OpenConnection(const Database& obDatabase, Connection& connection);

}  // namespace QuillonLib
