// How much a command tells beside its result: --verbose, --log and --quiet.
#pragma once

#include <string>

#include "cli/Console.h"

namespace CLI {
class App;
}

namespace quillon {

class TellingOptions {
  public:
    void AddTo(CLI::App& command);
    // Throws std::runtime_error for a log that cannot be written.
    void Apply(Console& console) const;
    bool Quiet() const { return quiet_; }
    // Throws CLI::ValidationError where a file that an option has written is that of --log: one of
    // the two would take the place of the other.
    void RequireApartFromLog(const char* option, const std::string& file) const;

  private:
    bool verbose_ = false;
    bool quiet_ = false;
    std::string log_;
};

}  // namespace quillon
