#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/CommandLine.h"
#include "cli/CommandOptions.h"
#include "cli/Commands.h"
#include "cli/ParsedOption.h"
#include "cli/Roads.h"

namespace quillon {

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
    options->pager.AddTo(*command);
    command
        ->add_option(
            "--report", options->report.file,
            "Write a report, too: one HTML file, with the rows that differ and the scripts "
            "that bring them over")
        ->type_name("FILE.html")
        ->group(DirectGroup);
    AddNumber(*command, "--report-limit", options->report.limit,
              "Rows of each table that the report shows (0: all)", std::uint64_t{0})
        ->default_str(std::to_string(options->report.limit))
        ->group(DirectGroup);
    command->callback([options, command, &program] {
        RequireRoad(*command, options->comparison.ByServer());
        options->comparison.Telling().RequireApartFromLog("--report", options->report.file);
        options->pager.Apply(program.console);
        options->report.scriptCommand =
            SameCallOf(*command, *command->get_parent()->get_subcommand("script"));
        ComparisonRequest request = options->comparison.Request(program.console);
        request.resultTellsEquality = options->format.Format() != OutputFormat::Csv;
        const CompareResults results =
            CompareWhole(options->comparison, request, options->report, program.console);
        if (!options->report.file.empty()) program.console.Hint("Written: " + options->report.file);
        Print(program.console, results, options->format.Format());
        program.exitCode = results.exitCode;
    });
}

}  // namespace quillon
