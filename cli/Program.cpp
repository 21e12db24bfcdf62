// All of it: here is compiled what the other files, which include parts, only declare.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/CallErrors.h"
#include "cli/Commands.h"
#include "cli/Driver.h"
#include "cli/Guarded.h"
#include "cli/HelpFormatter.h"
#include "cli/Interrupt.h"
#include "cli/ManualPage.h"
#include "cli/Suggestion.h"
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

// Throws for a first argument that is no command, and for options that the command lacks: the
// parser's own words for them name neither what is wrong nor what is near.
void RequireKnownNames(const CLI::App& app, const std::vector<std::string>& arguments) {
    if (BeginsWithOption(app, arguments)) return;
    RequireCommand(app, arguments.front(), "quillon");
}

// The command that the parser has come to, and those that it belongs to: "template", "template
// new".
std::vector<const CLI::App*> ParsedCommands(const CLI::App& app) {
    std::vector<const CLI::App*> commands;
    for (auto parsed = app.get_subcommands(); !parsed.empty();
         parsed = commands.back()->get_subcommands())
        commands.push_back(parsed.front());
    return commands;
}

[[noreturn]] void ThrowUnexpected(const CLI::App& app, const CLI::ExtrasError& error,
                                  const std::vector<std::string>& arguments) {
    std::string called = "quillon";
    std::vector<std::string> known;
    for (const CLI::App* command : ParsedCommands(app)) {
        called += " " + command->get_name();
        const std::vector<std::string> names = OptionNames(*command);
        known.insert(known.end(), names.begin(), names.end());
    }
    for (const std::string& argument : arguments) {
        const std::string name = argument.substr(0, argument.find('='));
        if (name.rfind("--", 0) != 0) continue;
        if (std::find(known.begin(), known.end(), name) != known.end()) continue;
        throw CLI::ValidationError(called + " has no option " + name + DidYouMean(name, known));
    }
    throw CLI::ValidationError(error.what());
}

void AddHelpCommand(CLI::App& app, Program& program) {
    CLI::App* const help = app.add_subcommand("help", "Tell what a command does and takes");
    auto names = std::make_shared<std::array<std::string, 2>>();
    help->add_option("COMMAND", names->front(), "The command; without it, all of them are listed");
    help->add_option("INNER", names->back(), "One of its own commands");
    auto manual = std::make_shared<bool>(false);
    help->add_flag("--man", *manual, "Print it as a manual page, for man -l -");
    help->callback([&app, &program, names, manual] {
        // App::help() would tell of the command that was called, which is this one.
        const CLI::App* subject = &app;
        std::string called = "quillon";
        for (const std::string& name : *names) {
            if (name.empty()) break;
            subject = &RequireCommand(*subject, name, called);
            called += " " + name;
        }
        const std::string command = called.substr(std::min(called.size(), sizeof "quillon"));
        if (*manual) return program.console.PrintData(ManualPage(ModelOf(*subject, command)));
        program.console.PrintData(
            subject->get_formatter()->make_help(subject, called, CLI::AppFormatMode::Normal));
    });
}

void AddCommands(CLI::App& app, Program& program) {
    app.require_subcommand(1);
    app.set_version_flag("--version", "quillon " QUILLON_VERSION);
    app.footer(
        "Exit codes: 0 identical or done, 1 differences, 2 failed, 3 no difference found but not "
        "everything was compared, 130 or 143 interrupted.");
    AddDemoCommand(app, program);
    AddCompareCommand(app, program);
    AddBatchCommand(app, program);
    AddRowsCommand(app, program);
    AddScriptCommand(app, program);
    AddSyncCommand(app, program);
    AddTemplateCommand(app, program);
    AddDiscoveryCommands(app, program);
    AddTextCommands(app, program);
    AddSandboxCommand(app, program);
    AddCompletionCommand(app, program);
    AddHelpCommand(app, program);
    RefuseEmptyValues(app);
}

int RunCommand(int argc, const char* const* argv, Program& program) {
    CLI::App app("Compares the rows of two SQL Server databases and makes them agree.", "quillon");
    app.formatter(std::make_shared<HelpFormatter>());
    AddCommands(app, program);
    try {
        RequireUtf8(argc, argv);
        const std::vector<std::string> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
        RequireKnownNames(app, arguments);
        RequireInnerCommand(app, arguments);
        RequireValues(app, arguments);
        try {
            app.parse(argc, argv);
        } catch (const CLI::ExtrasError& error) {
            ThrowUnexpected(app, error, arguments);
        } catch (const CLI::ArgumentMismatch& error) {
            throw CLI::ValidationError(SentenceOf(app, error, arguments));
        }
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
