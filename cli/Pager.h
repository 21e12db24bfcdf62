// The program in which a person looks at what is longer than the terminal.
#pragma once

#include <memory>
#include <string>

namespace quillon {

// QUILLON_PAGER, else PAGER: a command for the system's shell; empty where none is named, or one
// that only hands on ("cat").
std::string PagerCommand();

// From now on what goes to standard output, and to standard error where that is a terminal, too, is
// shown by it; until this goes, which waits until the person has seen enough.
class Pager {
  public:
    // Null where it cannot be started: things go out as before.
    static std::unique_ptr<Pager> Start(const std::string& command);
    virtual ~Pager() = default;
    Pager(const Pager&) = delete;
    Pager& operator=(const Pager&) = delete;

    // Waits. False where it could not be run, so that nothing was seen.
    virtual bool Finish() = 0;

  protected:
    Pager() = default;
};

}  // namespace quillon
