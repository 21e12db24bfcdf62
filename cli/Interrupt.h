// The signals that ask the program to end: SIGINT, which Ctrl-C sends, and SIGTERM. On Windows what
// the console tells: Ctrl-C as SIGINT, and as SIGTERM Ctrl-Break, the closed window, the end of the
// user's session.
#pragma once

#include <chrono>
#include <exception>
#include <memory>
#include <string>
#include <utility>

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
    class Before;  // how the signals were handled
    std::unique_ptr<Before> before_;
};

// How often those that wait for something else look whether a signal has come.
inline constexpr std::chrono::milliseconds LookForSignalEvery{50};

// Whether a signal has come while somebody watches: what a progress sink sets bCancel by. From any
// thread.
bool Interrupted() noexcept;

// 128 and the number of the signal, as a shell counts it; 0 when none has come.
int InterruptExitCode() noexcept;

// Ends a command before its time. Beside std::runtime_error, so that nobody takes it for a failure
// and goes on. What is given is told to the user: what has become of the command's work.
class Interruption : public std::exception {
  public:
    explicit Interruption(std::string what = {}) : what_(std::move(what)) {}
    const char* what() const noexcept override { return what_.c_str(); }

  private:
    std::string what_;
};

// Throws Interruption when a signal has come. For places where nothing is left half done.
void StopIfInterrupted();

// Waits until a file descriptor can be read, or throws Interruption when a signal comes.
void WaitForInput(int descriptor);

// What the second signal still does before it ends the process: nothing but what a signal handler
// may. Room for four, each given once.
using LastAction = void (*)() noexcept;
void BeforeEndingAtOnce(LastAction action);

}  // namespace quillon
