#include <CLI/App.hpp>
#include <memory>

#include "cli/CommandOptions.h"
#include "cli/Commands.h"
#include "cli/ParsedOption.h"
#include "cli/Roads.h"

namespace quillon {

void AddScriptCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("script", "Write the script that makes databases agree");
    command->footer(
        "Without --by-server the script is one of plain INSERT, UPDATE and DELETE statements; with "
        "it, one of\ntemporary procedures and their calls. Both run in one transaction.\n"
        "Exit codes: 0 the script brings everything over; 1 a table that differs is not in it, or "
        "not with all of\nits columns (it is named, with the reason); 2 failed, and no file was "
        "written, or a table could not be\ncompared; 3 not everything could be compared.\n"
        "Example:\n  quillon script db1/sales db2/sales --user reader --to 2 -o update.sql");
    auto options = std::make_shared<ScriptFileOptions>();
    options->comparison.AddDatabasesTo(*command);
    options->comparison.AddTablesTo(*command);
    options->comparison.AddTemplateTo(*command);
    options->comparison.AddAcceptTo(*command);
    options->script.AddTo(*command);
    AddGuardTo(*command, options->guard, "(default: it does not)");
    command->add_option("--to", options->to, "Database that the script is to be run on")
        ->check(OneOf({"1", "2", "both"}))
        ->capture_default_str();
    command->add_option("-o,--output", options->file, "File to write, or - for standard output")
        ->required();
    command->add_option("--encoding", options->encoding, "Encoding of the file, with its mark")
        ->check(OneOf({"utf8", "utf16"}))
        ->capture_default_str();
    command->callback([options, command, &program] {
        const bool byServer = options->comparison.ByServer();
        RequireRoad(*command, byServer);
        options->RequireSense();
        program.exitCode = byServer ? WriteScriptsByServer(*options, program.console)
                                    : WriteScriptsDirect(*options, program.console);
    });
}

}  // namespace quillon
