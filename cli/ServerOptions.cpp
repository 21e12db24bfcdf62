#include "cli/ServerOptions.h"

#include <CLI/App.hpp>
#include <stdexcept>

#include "cli/ConnectionFile.h"
#include "cli/Paths.h"

namespace quillon {

void ServerOptions::AddTo(CLI::App& command) {
    command
        .add_option("server", server_,
                    "Server, as host, host,port or host\\instance, or the name of a connection")
        ->required();
    login_.AddTo(command, "", "(default: that of the connection, else integrated)");
    AddConfigTo(command, config_);
    session_.AddTo(command);
}

namespace {

// Somebody without a folder for configurations has none.
ConnectionFile ReadConnections(const std::string& file) {
    if (file.empty()) {
        try {
            (void)ConfigurationFolder();
        } catch (const std::runtime_error&) {
            return {};
        }
    }
    return ConnectionFile::Read(file);
}

}  // namespace

std::shared_ptr<QuillonLib::Database> ServerOptions::Make(Console& console) const {
    if (server_.find('/') != std::string::npos) {
        throw CLI::ValidationError("'" + server_ +
                                   "' is a database; name its server alone, or a connection");
    }
    LoginOptions login = login_;
    SessionOptions session = session_;
    std::string server = server_;
    const ConnectionFile file = ReadConnections(config_);
    for (const NamedConnection& connection : file.Connections()) {
        if (connection.name != server_) continue;
        server = connection.server;
        if (!login.Given()) login = LoginOf(connection);
        session = session.Or(connection);
    }
    login.integrated = login.integrated || login.user.empty();
    const DatabaseLocation place{QuillonLib::FromUtf8(ParseServer(server)), {}};
    auto database = MakeDatabase(place, login, session.driver.kind, console);
    session.PutInto(*database);
    TellOf(*database, session, console);
    return database;
}

}  // namespace quillon
