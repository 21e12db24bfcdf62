#include <CLI/CLI.hpp>
#include <memory>

#include "catalog/Login.h"
#include "cli/Commands.h"
#include "cli/Comparison.h"
#include "cli/DemoData.h"
#include "cli/ResultTable.h"
#include "cli/ScriptOptions.h"
#include "cli/ScriptRunner.h"
#include "sandbox/Sandbox.h"

namespace quillon {

namespace {

using namespace QuillonLib;

constexpr std::size_t LinesInBatch = 2000;

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

int RunDemo(Console& console) {
    console.Progress(0, "Starting the sandbox and loading two databases");
    sandbox::Sandbox box;
    sandbox::Server& server = box.AddServer();
    const DemoScripts scripts = MakeDemoScripts();
    server.Run(scripts.world);
    server.Run(scripts.worldStale);

    ComparisonRequest request;
    request.databases.obDB1 = DemoDatabase(server, u"world");
    request.databases.obDB2 = DemoDatabase(server, u"world_stale");
    request.databases.obDB3 = request.databases.obDB1;
    const auto comparison = Prepare(request, console);
    console.Print(
        "Database 1, world: the codes of countries, subdivisions, currencies, scripts and");
    console.Print("languages. Database 2, world_stale: the same, some years behind.");
    console.Print();
    const auto results = Run(*comparison, console);
    PrintResults(console, *comparison, *results);

    const ScriptPlan plan = PlanScripts(*comparison, results, {});
    NoteLeftOut(plan.leftOut, console);
    const std::u16string script =
        ScriptMaker(*comparison, plan, {}, console).ScriptFor(Target::Database2);
    const auto batches = CutIntoBatches(script, LinesInBatch);
    console.Print();
    console.Print("Script written for world_stale: " + std::to_string(script.size()) +
                  " characters in " + std::to_string(batches.size()) + " batches, one transaction");
    const auto connection = OpenConnection(*comparison->databases.obDB2);
    RunBatches(*connection, batches);
    connection->Close();
    console.Print("Script run. Compared again:");
    console.Print();

    const int found = PrintResults(console, *comparison, *Run(*comparison, console));
    console.Print();
    if (found != ExitCode::Identical && found != ExitCode::NotWhole) {
        console.Print(console.Coloured(Colour::Red, "world_stale still differs from world"));
        return found;
    }
    console.Print(console.Coloured(
        Colour::Green,
        "world_stale has caught up: no difference is left. What could not be compared is named "
        "above."));
    return ExitCode::Identical;
}

}  // namespace

void AddDemoCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand(
        "demo", "Compare two databases of the embedded sandbox and bring one up to date");
    command->callback([&program] { program.exitCode = RunDemo(program.console); });
}

}  // namespace quillon
