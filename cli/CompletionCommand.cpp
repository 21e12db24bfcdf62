#include <CLI/App.hpp>
#include <memory>
#include <string>

#include "cli/Commands.h"
#include "cli/Completion.h"
#include "cli/ParsedOption.h"

namespace quillon {

void AddCompletionCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand(
        "completion", "Print a script by which a shell completes commands and options");
    command->footer(
        "Example:\n"
        "  quillon completion bash > ~/.local/share/bash-completion/completions/quillon");
    auto shell = std::make_shared<std::string>();
    command->add_option("shell", *shell, "The shell")
        ->check(OneOf({"bash", "zsh", "fish"}))
        ->required();
    command->callback([&app, &program, shell] {
        const CommandModel model = ModelOf(app);
        program.console.PrintData(*shell == "bash"  ? BashCompletion(model)
                                  : *shell == "zsh" ? ZshCompletion(model)
                                                    : FishCompletion(model));
    });
}

}  // namespace quillon
