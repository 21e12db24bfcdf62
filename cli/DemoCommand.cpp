#include <memory>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/DemoData.h"
#include "cli/ResultTable.h"
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

std::u16string WriteScript(const Comparison& comparison,
                           const std::shared_ptr<TableDifferences>& results, Console& console) {
    Utils utils;
    utils.EventSink(ProgressSink(console));
    std::u16string left;
    std::u16string right;
    const auto& [obDB1, obDB2, obDB3] = comparison.databases;
    utils.GetUpdateScripts(obDB1, obDB2, obDB3, results, left, right,
                           cpoShowDifferent | cpoShowMissing | cpoShowAdditional, 0);
    console.ClearProgress();
    return right;
}

// Whether every table that a script can bring over is identical.
bool IsInStep(const TableDifferences& results) {
    for (const auto& result : results) {
        if (Judge(*result).kind == Verdict::Kind::Different) return false;
    }
    return true;
}

int RunDemo(Console& console) {
    console.Progress(0, "Starting the sandbox and loading two databases");
    sandbox::Sandbox box;
    sandbox::Server& server = box.AddServer();
    const DemoScripts scripts = MakeDemoScripts();
    server.Run(scripts.world);
    server.Run(scripts.worldStale);

    Comparison comparison;
    comparison.databases.obDB1 = DemoDatabase(server, u"world");
    comparison.databases.obDB2 = DemoDatabase(server, u"world_stale");
    comparison.databases.obDB3 = comparison.databases.obDB1;
    comparison.tables = ListTables(comparison.databases).common;
    console.Print(
        "Database 1, world: the codes of countries, subdivisions, currencies, scripts and");
    console.Print("languages. Database 2, world_stale: the same, some years behind.");
    console.Print();
    const auto results = Run(comparison, console);
    PrintResults(console, *results);

    const std::u16string script = WriteScript(comparison, results, console);
    const auto batches = CutIntoBatches(script, LinesInBatch);
    console.Print();
    console.Print("Script written for world_stale: " + std::to_string(script.size()) +
                  " characters in " + std::to_string(batches.size()) + " batches, one transaction");
    auto connection = std::make_shared<Connection>();
    connection->Open(u"driver={SQL Server};server=" + server.Address() +
                     u";database=world_stale;uid=sa;pwd=sandbox");
    RunBatches(*connection, batches);
    connection->Close();
    console.Print("Script run. Compared again:");
    console.Print();

    const auto after = Run(comparison, console);
    PrintResults(console, *after);
    console.Print();
    if (!IsInStep(*after)) {
        console.Print(console.Coloured(Colour::Red, "world_stale still differs from world"));
        return 1;
    }
    console.Print(console.Coloured(
        Colour::Green, "world_stale has caught up: every table that can be compared is identical"));
    return 0;
}

}  // namespace

void AddDemoCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand(
        "demo", "Compare two databases of the embedded sandbox and bring one up to date");
    command->callback([&program] { program.exitCode = RunDemo(program.console); });
}

}  // namespace quillon
