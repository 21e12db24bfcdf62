#include <CLI/CLI.hpp>
#include <memory>

#include "cli/Commands.h"
#include "cli/Comparison.h"
#include "cli/ComparisonOptions.h"
#include "cli/DirectRun.h"
#include "cli/ResultTable.h"
#include "cli/Roads.h"

namespace quillon {

int CompareDirect(const ComparisonOptions& options, Console& console) {
    const DirectRun run = PrepareDirect(options, console);
    return options.Accepted(PrintResults(console, run, Run(run, console)));
}

int CompareByServer(const ComparisonOptions& options, Console& console) {
    const auto comparison = Prepare(options.Request(console), console);
    const LinkedServerCleanup cleanup(*comparison, console);
    const auto results = Run(*comparison, console);
    return options.Accepted(PrintResults(console, *comparison, *results));
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
    auto options = std::make_shared<ComparisonOptions>();
    options->AddDatabasesTo(*command);
    options->AddTablesTo(*command);
    options->AddTemplateTo(*command);
    options->AddListTo(*command);
    options->AddAcceptTo(*command);
    command->callback([options, command, &program] {
        RequireRoad(*command, options->ByServer());
        program.exitCode = options->ByServer() ? CompareByServer(*options, program.console)
                                               : CompareDirect(*options, program.console);
    });
}

}  // namespace quillon
