#include <CLI/App.hpp>
#include <memory>
#include <stdexcept>

#include "cli/AbandonOnInterrupt.h"
#include "cli/Commands.h"
#include "cli/DatabaseOptions.h"
#include "cli/Printable.h"

namespace quillon {

namespace {

void PrintNames(const std::optional<QuillonLib::TextArray>& names, const char* none,
                Console& console) {
    if (!names) return console.Note(none);
    for (const auto& name : names->Items)
        console.Print(QuillonLib::ToUtf8(name));
}

std::optional<QuillonLib::TextArray> DatabasesOf(const std::string& server,
                                                 const LoginOptions& login, Console& console) {
    using QuillonLib::FromUtf8;
    const std::string user = login.integrated ? "" : ConnectionValue(login.user, "user name");
    const std::string password =
        ConnectionValue(QuillonLib::ToUtf8(login.Password(Printable(server), console)), "password");
    const AbandonOnInterrupt silent;
    try {
        return QuillonLib::Utils().AvailableDatabases(FromUtf8(ParseServer(server)), FromUtf8(user),
                                                      FromUtf8(password));
    } catch (const QuillonLib::Error& error) {
        throw std::runtime_error("cannot list the databases of " + server + ":\n" + error.what());
    }
}

}  // namespace

void AddDiscoveryCommands(CLI::App& app, Program& program) {
    auto* servers =
        app.add_subcommand("servers", "List the SQL Servers that answer on the network");
    servers->callback([&program] {
        const AbandonOnInterrupt silent;
        PrintNames(QuillonLib::Utils().AvailableServers(), "No server answered.", program.console);
    });

    auto* databases = app.add_subcommand("databases", "List the databases of a server");
    databases->footer("Example:\n  QUILLON_PASSWORD=... quillon databases db1 --user reader");
    auto server = std::make_shared<std::string>();
    auto login = std::make_shared<LoginOptions>();
    databases->add_option("server", *server, "Server, as host, host,port or host\\instance")
        ->required();
    login->AddTo(*databases, "", "(default: integrated)");
    databases->callback([server, login, &program] {
        login->integrated = login->integrated || login->user.empty();
        PrintNames(DatabasesOf(*server, *login, program.console), "The server has no database.",
                   program.console);
    });
}

}  // namespace quillon
