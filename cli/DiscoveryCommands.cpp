#include <memory>

#include "cli/Commands.h"
#include "cli/DatabaseOptions.h"

namespace quillon {

namespace {

void PrintNames(const std::optional<QuillonLib::TextArray>& names, const char* none,
                Console& console) {
    if (!names) return console.Note(none);
    for (const auto& name : names->Items)
        console.Print(QuillonLib::ToUtf8(name));
}

}  // namespace

void AddDiscoveryCommands(CLI::App& app, Program& program) {
    auto* servers =
        app.add_subcommand("servers", "List the SQL Servers that answer on the network");
    servers->callback([&program] {
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
        const std::u16string user =
            login->integrated ? std::u16string() : QuillonLib::FromUtf8(login->user);
        QuillonLib::Utils utils;
        PrintNames(utils.AvailableDatabases(QuillonLib::FromUtf8(*server), user,
                                            login->Password(program.console)),
                   "The server has no database.", program.console);
    });
}

}  // namespace quillon
