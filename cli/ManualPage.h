// Manual pages made from the help of the commands.
#pragma once

#include <string>

#include "cli/CommandModel.h"

namespace quillon {

// A page of section 1 for man(1): of a command with what it takes, of the program with its
// commands.
std::string ManualPage(const CommandModel& command);

}  // namespace quillon
