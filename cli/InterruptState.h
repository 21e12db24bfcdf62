// What the handlers of both systems note. All of it may be called by a handler of a signal, which
// runs in the middle of anything.
#pragma once

namespace quillon {

// Of two signals the first is noted. False for the second.
bool NoteInterrupt(int signal) noexcept;
void ForgetInterrupt() noexcept;
// What was given to BeforeEndingAtOnce.
void RunLastActions() noexcept;
// Runs them and ends the process where it stands: no destructor of a static object runs, and no
// thread is waited for. Not for a handler.
[[noreturn]] void EndProcess(int exitCode) noexcept;

}  // namespace quillon
