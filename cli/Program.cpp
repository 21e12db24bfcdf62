#include <CLI/CLI.hpp>
#include <sstream>
#include <stdexcept>
#include <string>

#include "cli/Commands.h"
#include "cli/Driver.h"
#include "cli/Guarded.h"
#include "cli/Interrupt.h"
#include "core/Text.h"

namespace quillon {

namespace {

// Names from a terminal of another encoding would be other names.
void RequireUtf8(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        if (!QuillonLib::IsUtf8(argv[i])) {
            throw std::runtime_error("argument " + std::to_string(i) + " is not UTF-8");
        }
    }
}

void AddCommands(CLI::App& app, Program& program) {
    app.require_subcommand(1);
    app.footer(
        "Exit codes: 0 identical or done, 1 differences, 2 failed, 3 no difference found but not "
        "everything was compared, 130 or 143 interrupted.");
    AddDemoCommand(app, program);
    AddCompareCommand(app, program);
    AddRowsCommand(app, program);
    AddScriptCommand(app, program);
    AddSyncCommand(app, program);
    AddTemplateCommand(app, program);
    AddDiscoveryCommands(app, program);
    AddTextCommands(app, program);
    AddSandboxCommand(app, program);
}

int RunCommand(int argc, const char* const* argv, Program& program) {
    CLI::App app("Compares the rows of two SQL Server databases and makes them agree.", "quillon");
    AddCommands(app, program);
    try {
        RequireUtf8(argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        std::ostringstream text;
        const int exitCode = app.exit(help, text, text);
        program.console.PrintData(text.str());
        return exitCode;
    } catch (const CLI::Error& error) {
        program.console.Note(std::string("quillon: ") + error.what());
        program.console.Note("Run with --help for more information.");
        return Failed;
    }
    return program.exitCode;
}

}  // namespace

int RunProgram(int argc, const char* const* argv) {
    const InterruptWatch watch;
    Program program;
    return RunGuarded(program.console, [&] {
        const std::string complaint = MakeDriverReachable();
        if (!complaint.empty()) program.console.Note("quillon: " + complaint);
        return RunCommand(argc, argv, program);
    });
}

}  // namespace quillon
