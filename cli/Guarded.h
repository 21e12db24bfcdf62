// The one place where failures of a command end.
#pragma once

#include <functional>

#include "cli/Console.h"

namespace quillon {

inline constexpr int Failed = 2;

// Runs a command, sees to it that its output has gone out, and tells of whatever it throws. Returns
// its exit code, 2 when something failed, 128 and the number of the signal when one has come.
// Nothing is thrown.
int RunGuarded(Console& console, const std::function<int()>& command) noexcept;

}  // namespace quillon
