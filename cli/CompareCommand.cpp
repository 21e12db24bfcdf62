#include <CLI/CLI.hpp>
#include <memory>

#include "cli/Commands.h"
#include "cli/ComparisonOptions.h"
#include "cli/DirectChoices.h"
#include "cli/ResultTable.h"

namespace quillon {

namespace {

int Compare(const ComparisonOptions& options, const DirectRoadOptions& direct, Console& console) {
    if (direct.Asked()) return CompareDirect(options, direct, console);
    const auto comparison = Prepare(options.Request(console), console);
    const LinkedServerCleanup cleanup(*comparison, console);
    const auto results = Run(*comparison, console);
    return options.Accepted(PrintResults(console, *comparison, *results));
}

}  // namespace

void AddCompareCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("compare", "Compare the rows of two databases");
    command->footer(
        std::string("Values are equal if the server takes them for equal: by the collation of the "
                    "column, which may\ncount upper and lower case, accents or trailing blanks as "
                    "the same. With --direct they are equal\nif every byte and every UTF-16 unit "
                    "is.\n") +
        ExitCodesOfComparisons +
        "\nExample:\n"
        "  QUILLON_PASSWORD=... quillon compare db1/sales db2,1433/sales --user reader");
    auto options = std::make_shared<ComparisonOptions>();
    options->AddDatabasesTo(*command);
    options->AddChoicesTo(*command);
    options->AddTemplateTo(*command);
    options->AddAcceptTo(*command);
    auto direct = std::make_shared<DirectRoadOptions>();
    direct->AddTo(*command);
    command->callback([options, direct, &program] {
        program.exitCode = Compare(*options, *direct, program.console);
    });
}

}  // namespace quillon
