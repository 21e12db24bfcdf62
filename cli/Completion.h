// What a shell completes on the command line, made from the help of the commands.
#pragma once

#include <string>

#include "cli/CommandModel.h"

namespace quillon {

std::string BashCompletion(const CommandModel& program);
std::string ZshCompletion(const CommandModel& program);
std::string FishCompletion(const CommandModel& program);

}  // namespace quillon
