#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

#include "cli/CommandOptions.h"
#include "cli/Commands.h"
#include "cli/CompareResults.h"
#include "cli/DirectRun.h"
#include "cli/Report.h"
#include "cli/Roads.h"

namespace quillon {

int CompareDirect(const CompareOptions& options, Console& console) {
    CompareResults results;
    const DirectRun run = PrepareDirect(options.comparison, console);
    results.databases = run.databases;
    results.tables = run;
    results.onlyDifferent = run.onlyDifferent;
    results.loosened = options.comparison.Direct().Loosened();
    std::optional<Report> report;
    if (!options.report.empty()) report.emplace(options.report, options.reportLimit);
    const auto found = Run(run, console, [&](const QuillonLib::DirectDifference& difference) {
        if (report) report->Take(difference);
        return false;
    });
    results.lines = Judge(run, found);
    results.exitCode = options.comparison.Accepted(ExitCodeOf(results.All()));
    if (report) {
        report->Finish(results);
        console.Note("Written: " + options.report);
    }
    Print(console, results, options.format.Format());
    return results.exitCode;
}

int CompareByServer(const CompareOptions& options, Console& console) {
    CompareResults results;
    const auto comparison = Prepare(options.comparison.Request(console), console);
    const LinkedServerCleanup cleanup(*comparison, console);
    results.databases = comparison->databases;
    results.byServer = true;
    results.tables = *comparison;
    results.onlyDifferent = comparison->onlyDifferent;
    results.lines = Judge(*comparison, *Run(*comparison, console));
    results.exitCode = options.comparison.Accepted(ExitCodeOf(results.All()));
    Print(console, results, options.format.Format());
    NoteFailuresAcrossServers(console, *comparison, results.lines);
    return results.exitCode;
}

void AddCompareCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("compare", "Compare the rows of two databases");
    command->footer(
        std::string(
            "Values are equal if every byte and every UTF-16 unit is. With --by-server they "
            "are equal if the server\ntakes them for equal: by the collation of the "
            "column, which may count upper and lower case, accents\nor trailing blanks as "
            "the same.\n") +
        ExitCodesOfComparisons +
        "\nExample:\n"
        "  QUILLON_PASSWORD=... quillon compare db1/sales db2,1433/sales --user reader");
    auto options = std::make_shared<CompareOptions>();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddTablesTo(*command);
    options->comparison.AddTemplateTo(*command);
    options->comparison.AddListTo(*command);
    options->comparison.AddAcceptTo(*command);
    options->format.AddTo(*command);
    command
        ->add_option("--report", options->report,
                     "Write a report, too: one HTML file, with the rows that differ")
        ->type_name("FILE.html")
        ->group(DirectGroup);
    command
        ->add_option("--report-limit", options->reportLimit,
                     "Rows of each table that the report shows (0: all)")
        ->capture_default_str()
        ->group(DirectGroup);
    command->callback([options, command, &program] {
        const bool byServer = options->comparison.ByServer();
        RequireRoad(*command, byServer);
        program.exitCode = byServer ? CompareByServer(*options, program.console)
                                    : CompareDirect(*options, program.console);
    });
}

}  // namespace quillon
