#include <CLI/App.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "catalog/Login.h"
#include "cli/Commands.h"
#include "cli/Comparison.h"
#include "cli/DemoData.h"
#include "cli/DirectRun.h"
#include "cli/DirectScripts.h"
#include "cli/ResultTable.h"
#include "cli/SpooledScript.h"
#include "sandbox/Sandbox.h"

namespace quillon {

namespace {

using namespace QuillonLib;

std::shared_ptr<Database> DemoDatabase(const sandbox::Server& server, const char16_t* name) {
    auto database = std::make_shared<Database>();
    database->Server(server.Address());
    database->DatabaseName(name);
    database->Username(u"sa");
    database->Password(u"sandbox");
    database->Description(name);
    database->CheckDependencies(true);
    return database;
}

std::string Rows(std::uint64_t count) {
    return std::to_string(count) + " rows";
}

// Compares, brings database 2 over, and compares again.
int BringOver(const DirectRun& run, Console& console) {
    const Database& target = run.Target(2);
    DirectScripts scripts(run, {2}, /*guard=*/true, console);
    PrintResults(console, run, scripts.Results());
    SpooledScript script;
    std::size_t characters = 0;
    scripts.Write(2, [&](std::u16string_view piece) {
        script.Add(piece);
        characters += piece.size();
    });
    NoteLeftOut(scripts.NotBroughtOver(), console);
    console.Print();
    console.Print("Script written for world_stale: " + Rows(scripts.RowsWritten(2)) + ", " +
                  std::to_string(characters) + " characters in " + std::to_string(script.Count()) +
                  " batches, one transaction");
    const auto connection = OpenConnection(target);
    RunBatches(*connection, script);
    connection->Close();
    console.Print("Script run. Compared again:");
    console.Print();
    return PrintResults(console, run, Run(run, console));
}

// Both databases on one server, before anything was brought over.
void ShowByServer(const DemoScripts& scripts, sandbox::Server& server, Console& console) {
    server.Run(scripts.worldStale);
    ComparisonRequest request;
    request.databases.obDB1 = DemoDatabase(server, u"world");
    request.databases.obDB2 = DemoDatabase(server, u"world_stale");
    request.databases.obDB3 = request.databases.obDB1;
    console.Print("As they were at the beginning, and by a server's own rules of equality");
    console.Print("(quillon compare --by-server), with both databases on the first server:");
    console.Print();
    const auto comparison = Prepare(request, console);
    PrintResults(console, *comparison, *Run(*comparison, console));
    console.Print();
}

int RunDemo(Console& console) {
    console.Progress(0, "Starting two servers and loading a database into each");
    sandbox::Sandbox box1, box2;
    sandbox::Server& server1 = box1.AddServer();
    sandbox::Server& server2 = box2.AddServer();
    const DemoScripts scripts = MakeDemoScripts();
    server1.Run(scripts.world);
    server2.Run(scripts.worldStale);

    ComparisonRequest request;
    request.databases.obDB1 = DemoDatabase(server1, u"world");
    request.databases.obDB2 = DemoDatabase(server2, u"world_stale");
    const DirectRun run = PrepareDirect(request, DirectChoices(), console);
    console.Print(
        "Database 1, world: the codes of countries, subdivisions, currencies, scripts and");
    console.Print(
        "languages. Database 2, world_stale, on a server that knows nothing of the first: the");
    console.Print("same, some years behind.");
    console.Print();
    const int found = BringOver(run, console);
    console.Print();
    ShowByServer(scripts, server1, console);
    if (found != ExitCode::Identical && found != ExitCode::NotWhole) {
        console.Print(console.Coloured(Colour::Red, "world_stale still differs from world"));
        return found;
    }
    console.Print(console.Coloured(
        Colour::Green,
        found == ExitCode::Identical
            ? "world_stale has caught up: every row is identical, to the last bit."
            : "world_stale has caught up: no difference is left. What could not be compared is "
              "named above."));
    return ExitCode::Identical;
}

}  // namespace

void AddDemoCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand(
        "demo", "Compare databases on two embedded sandboxes and bring one up to date");
    command->callback([&program] { program.exitCode = RunDemo(program.console); });
}

}  // namespace quillon
