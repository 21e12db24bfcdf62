// What the program was started with, in UTF-8 whatever the system keeps it in.
#pragma once

#include <optional>
#include <string>

namespace quillon {

// A variable of the environment; absent where it is not set. On Linux the bytes as they are.
std::optional<std::string> Environment(const char* name);

}  // namespace quillon
