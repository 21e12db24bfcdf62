#include <memory>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/ResultTable.h"

namespace quillon {

void AddCompareCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("compare", "Compare the rows of two databases");
    command->footer(
        "Example:\n"
        "  QUILLON_PASSWORD=... quillon compare db1/sales db2,1433/sales --user reader");
    auto options = std::make_shared<ComparisonOptions>();
    options->AddTo(*command);
    options->AddTemplateTo(*command);
    command->callback([options, &program] {
        const auto comparison = options->Make(program.console);
        const auto results = Run(*comparison, program.console);
        const int exitCode = PrintResults(program.console, *results);
        program.exitCode = exitCode == 0 && comparison->tablesLeftOut ? 1 : exitCode;
    });
}

}  // namespace quillon
