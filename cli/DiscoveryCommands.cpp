#include <CLI/App.hpp>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "catalog/CatalogReader.h"
#include "catalog/Login.h"
#include "cli/AbandonOnInterrupt.h"
#include "cli/Commands.h"
#include "cli/ServerOptions.h"
#include "cli/TellingOptions.h"

namespace quillon {

namespace {

void PrintNames(const std::vector<std::u16string>& names, const char* none, Console& console) {
    if (names.empty()) console.Note(none);
    for (const auto& name : names)
        console.Print(QuillonLib::ToUtf8(name));
}

std::vector<std::u16string> DatabasesOf(const ServerOptions& options, Console& console) {
    const auto server = options.Make(console);
    const AbandonOnInterrupt silent;
    try {
        return QuillonLib::CatalogReader(QuillonLib::LogIn(server->Login())).DatabaseNames();
    } catch (const QuillonLib::Error& error) {
        throw std::runtime_error("cannot list the databases of " + options.Name() + ":\n" +
                                 error.what());
    }
}

}  // namespace

void AddDiscoveryCommands(CLI::App& app, Program& program) {
    auto* servers =
        app.add_subcommand("servers", "List the SQL Servers that answer on the network");
    servers->callback([&program] {
        const AbandonOnInterrupt silent;
        const auto names = QuillonLib::Utils().AvailableServers();
        PrintNames(names ? names->Items : std::vector<std::u16string>(), "No server answered.",
                   program.console);
    });

    auto* databases = app.add_subcommand("databases", "List the databases of a server");
    databases->footer("Example:\n  QUILLON_PASSWORD=... quillon databases db1 --user reader");
    auto server = std::make_shared<ServerOptions>();
    auto telling = std::make_shared<TellingOptions>();
    server->AddTo(*databases);
    telling->AddTo(*databases);
    databases->callback([server, telling, &program] {
        telling->Apply(program.console);
        PrintNames(DatabasesOf(*server, program.console), "The server has no database.",
                   program.console);
    });
}

}  // namespace quillon
