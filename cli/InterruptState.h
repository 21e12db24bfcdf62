// What the handlers of both systems note. All of it may be called by a handler of a signal, which
// runs in the middle of anything.
#pragma once

namespace quillon {

// Of two signals the first is noted. False for the second.
bool NoteInterrupt(int signal) noexcept;
void ForgetInterrupt() noexcept;
// What was given to BeforeEndingAtOnce.
void RunLastActions() noexcept;

}  // namespace quillon
