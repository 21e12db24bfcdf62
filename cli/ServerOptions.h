// The options by which a command is told of one server.
#pragma once

#include <memory>
#include <string>

#include "QuillonLib.h"
#include "cli/Console.h"
#include "cli/DatabaseOptions.h"

namespace CLI {
class App;
}

namespace quillon {

class ServerOptions {
  public:
    void AddTo(CLI::App& command);
    // The server, with no database of it. The name of a connection goes before that of a host;
    // without a login of its own or of the command line it is the integrated one. Throws
    // CLI::ValidationError and std::runtime_error for what makes no sense.
    std::shared_ptr<QuillonLib::Database> Make(Console& console) const;
    // As the command line has it.
    const std::string& Name() const { return server_; }

  private:
    std::string server_;
    LoginOptions login_;
    SessionOptions session_;
    std::string config_;  // the file of connections; empty: the user's own
};

}  // namespace quillon
