#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/CommandOptions.h"
#include "cli/Commands.h"
#include "cli/ParsedOption.h"
#include "cli/Roads.h"

namespace quillon {

void AddSyncCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("sync", "Make one database agree with the other");
    command->footer(
        std::string("Everything happens in one transaction; on any error nothing is changed. Back "
                    "up first.\nAfterwards both are compared again, and the exit code tells what "
                    "was found.\n") +
        ExitCodesOfComparisons +
        "\nExample:\n  quillon sync db1/sales db2/sales --user writer --to 2");
    auto options = std::make_shared<SyncOptions>();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddTablesTo(*command);
    options->comparison.AddTemplateTo(*command);
    options->comparison.AddListTo(*command);
    options->comparison.AddAcceptTo(*command);
    options->script.AddTo(*command);
    AddGuardTo(*command, options->guard, "(default: it does)");
    command->add_option("--to", options->to, "Database that is changed")
        ->check(OneOf({"1", "2"}))
        ->required();
    options->limits.AddTo(*command);
    auto* const yes = command->add_flag("--yes", options->yes, "Do not ask");
    command
        ->add_flag("--dry-run", options->dryRun,
                   "Tell what would be done, and change nothing; exit code 1 if it is anything, "
                   "and 2 if a limit forbids it")
        ->excludes(yes);
    command->callback([options, command, &program] {
        const bool byServer = options->comparison.ByServer();
        RequireRoad(*command, byServer);
        program.exitCode = byServer ? SyncByServer(*options, program.console)
                                    : SyncDirect(*options, program.console);
    });
}

}  // namespace quillon
