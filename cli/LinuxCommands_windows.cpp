// The commands that need the sandbox, which runs on Linux only: they say so.
#include <CLI/App.hpp>
#include <stdexcept>

#include "cli/Commands.h"

namespace quillon {

namespace {

void AddCommandOfLinux(CLI::App& app, const char* name) {
    auto* command = app.add_subcommand(name, "On Linux only: needs the sandbox");
    command->allow_extras();
    command->callback(
        [] { throw std::runtime_error("the sandbox, which this needs, runs on Linux only"); });
}

}  // namespace

void AddDemoCommand(CLI::App& app, Program&) {
    AddCommandOfLinux(app, "demo");
}

void AddSandboxCommand(CLI::App& app, Program&) {
    AddCommandOfLinux(app, "sandbox");
}

}  // namespace quillon
