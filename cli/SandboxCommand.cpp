#include <CLI/App.hpp>
#include <csignal>
#include <memory>

#include "cli/Commands.h"
#include "cli/ParsedOption.h"
#include "cli/TextFile.h"
#include "core/Text.h"
#include "sandbox/Sandbox.h"

namespace quillon {

namespace {

struct SandboxOptions {
    std::uint16_t port = 0;
    std::string name = "SANDBOX";
    std::string version = "10.50.6000";
    std::string script;
};

// Blocks the signals that end a program, so that Wait can take them.
class EndSignals {
  public:
    EndSignals() {
        sigemptyset(&signals_);
        sigaddset(&signals_, SIGINT);
        sigaddset(&signals_, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
    }
    void Wait() const {
        int signal = 0;
        sigwait(&signals_, &signal);
    }

  private:
    sigset_t signals_{};
};

void RunSandbox(const SandboxOptions& options, Console& console) {
    std::u16string script;
    if (!options.script.empty()) script = ReadTextFile(options.script);
    const EndSignals end;  // before the sandbox starts its threads
    sandbox::Sandbox box;
    sandbox::ServerSettings settings;
    settings.name = QuillonLib::FromUtf8(options.name);
    settings.version = options.version;
    settings.port = options.port;
    sandbox::Server& server = box.AddServer(settings);
    if (!script.empty()) server.Run(script);
    const std::string address = QuillonLib::ToUtf8(server.Address());
    console.Print("Server " + options.name + " listens on " + address);
    console.Print("User sa, password sandbox; for example:");
    console.Print("  QUILLON_PASSWORD=sandbox quillon compare " + address + "/A " + address +
                  "/B --user sa");
    console.Print("Press Ctrl-C to end it.");
    console.Flush();
    end.Wait();
}

}  // namespace

void AddSandboxCommand(CLI::App& app, Program& program) {
    auto* command = app.add_subcommand("sandbox", "Run a small SQL Server stand-in on 127.0.0.1");
    command->footer("Example:\n  quillon sandbox --port 14330 --load databases.sql");
    auto options = std::make_shared<SandboxOptions>();
    AddNumber(*command, "--port", options->port, "Port to listen on (default: any free one)",
              std::uint16_t{0});
    command->add_option("--name", options->name, "Name of the server")->capture_default_str();
    command->add_option("--version", options->version, "Version that it claims, as 8.00.2039")
        ->capture_default_str();
    command->add_option("--load", options->script,
                        "Script to run first (UTF-8, or UTF-16 with its mark)");
    command->callback([options, &program] { RunSandbox(*options, program.console); });
}

}  // namespace quillon
