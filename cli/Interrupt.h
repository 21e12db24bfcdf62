// The signals that ask the program to end: SIGINT, which Ctrl-C sends, and SIGTERM.
#pragma once

#include <csignal>
#include <stdexcept>
#include <string>

namespace quillon {

// While it lives, the first signal is told on standard error and noted, and the command ends where
// it can leave everything in order; a second one ends the process at once. A signal that was
// ignored when the program began (as under nohup) stays ignored. There is one at a time.
class InterruptWatch {
  public:
    InterruptWatch();
    ~InterruptWatch();
    InterruptWatch(const InterruptWatch&) = delete;
    InterruptWatch& operator=(const InterruptWatch&) = delete;

  private:
    struct sigaction beforeInt_ {};
    struct sigaction beforeTerm_ {};
};

// Whether a signal has come since the watch began: what a progress sink sets bCancel by. From any
// thread.
bool Interrupted() noexcept;

// 128 and the number of the signal, as a shell counts it; 0 when none has come.
int InterruptExitCode() noexcept;

// Ends a command before its time. what() tells what has become of its work.
struct Interruption : std::runtime_error {
    explicit Interruption(const std::string& what = "interrupted") : std::runtime_error(what) {}
};

// Throws Interruption when a signal has come. For places where nothing is left half done.
void StopIfInterrupted();

}  // namespace quillon
