#include <stdexcept>
#include <string>

#include "cli/Commands.h"
#include "cli/Driver.h"
#include "core/Error.h"
#include "core/Text.h"

namespace quillon {

namespace {

constexpr int Failed = 2;

// The library's line ends are CR LF; a terminal's are not.
std::string Lines(std::string text) {
    std::erase(text, '\r');
    return text;
}

// Names from a terminal of another encoding would be other names.
void RequireUtf8(int argc, const char* const* argv) {
    for (int i = 1; i < argc; ++i) {
        if (!QuillonLib::IsUtf8(argv[i])) {
            throw std::runtime_error("argument " + std::to_string(i) + " is not UTF-8");
        }
    }
}

}  // namespace

int RunProgram(int argc, const char* const* argv) {
    Program program;
    CLI::App app("Compares the rows of two SQL Server databases and makes them agree.", "quillon");
    app.require_subcommand(1);
    app.footer("Exit codes: 0 identical or done, 1 differences found, 2 failed.");
    AddDemoCommand(app, program);
    AddCompareCommand(app, program);
    AddRowsCommand(app, program);
    AddScriptCommand(app, program);
    AddSyncCommand(app, program);
    AddTemplateCommand(app, program);
    AddDiscoveryCommands(app, program);
    AddTextCommands(app, program);
    AddSandboxCommand(app, program);
    MakeDriverReachable();
    try {
        RequireUtf8(argc, argv);
        app.parse(argc, argv);
    } catch (const CLI::Success& help) {
        return app.exit(help);
    } catch (const CLI::Error& error) {
        program.console.Note(std::string("quillon: ") + error.what());
        program.console.Note("Run with --help for more information.");
        return Failed;
    } catch (const std::exception& error) {
        program.console.Note("quillon: " + Lines(error.what()));
        return Failed;
    }
    return program.exitCode;
}

}  // namespace quillon
