// The commands of quillon. Each adds itself to the program; its action sets the exit code.
#pragma once

#include "cli/Console.h"

namespace CLI {
class App;
}

namespace quillon {

// What the commands share while the program runs.
struct Program {
    Console console;
    int exitCode = 0;
};

void AddDemoCommand(CLI::App& app, Program& program);
void AddCompareCommand(CLI::App& app, Program& program);
void AddBatchCommand(CLI::App& app, Program& program);
void AddRowsCommand(CLI::App& app, Program& program);
void AddScriptCommand(CLI::App& app, Program& program);
void AddSyncCommand(CLI::App& app, Program& program);
void AddTemplateCommand(CLI::App& app, Program& program);
void AddDiscoveryCommands(CLI::App& app, Program& program);  // servers, databases
void AddTextCommands(CLI::App& app, Program& program);       // split, encrypt, decrypt
void AddSandboxCommand(CLI::App& app, Program& program);
void AddCompletionCommand(CLI::App& app, Program& program);

// The whole program; returns its exit code. `arguments` begins with the program's name.
int RunProgram(int argc, const char* const* argv);

}  // namespace quillon
