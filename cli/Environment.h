// What the program was started with, in UTF-8 whatever the system keeps it in.
#pragma once

#include <optional>
#include <string>

namespace quillon {

// A variable of the environment; absent where it is not set. On Linux the bytes as they are.
std::optional<std::string> Environment(const char* name);

// The first line that a command prints, without its end; the system's shell runs the command.
// Throws std::runtime_error where it fails or prints nothing; what it printed is in no error.
std::string FirstLineOf(const std::string& command);

}  // namespace quillon
