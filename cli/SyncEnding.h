// How a sync goes on once it knows what there is to do: the question, and what is said of the end.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "cli/Console.h"
#include "cli/ScriptRunner.h"

namespace QuillonLib {
class Connection;
class Database;
}  // namespace QuillonLib

namespace quillon {

// Logs in for the script. Throws the library's Error.
std::shared_ptr<QuillonLib::Connection> LogInToChange(const QuillonLib::Database& target);

// Whether a comparison that asks for `exitCode` leaves nothing to do; told.
bool NothingToDo(int exitCode, Console& console);

class SyncEnding {
  public:
    // `compareAgain` prints the results, and returns their exit code.
    SyncEnding(const QuillonLib::Database& target, std::uint64_t rows, Console& console,
               std::function<int()> compareAgain);

    // Asks, unless `yes` has been said. Where the answer is no, that is told.
    bool MayChange(bool yes) const;
    // Tells that a dry run ends here, and returns its exit code.
    int EndDryRun() const;
    // Compares again, and returns the exit code of that. `pace`: how fast it went; may be empty.
    // Throws Interruption.
    int Committed(const std::string& pace) const;
    // The answer to the commit was lost: only the database itself can tell what has become of it.
    int LookAgain(const OutcomeUnknown& unknown) const;

  private:
    std::string target_;
    std::uint64_t rows_;
    Console& console_;
    std::function<int()> compareAgain_;
};

}  // namespace quillon
