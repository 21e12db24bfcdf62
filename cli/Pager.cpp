#include "cli/Pager.h"

#include "cli/Environment.h"

namespace quillon {

std::string PagerCommand() {
    auto command = Environment("QUILLON_PAGER");
    if (!command) command = Environment("PAGER");
    return !command || *command == "cat" ? "" : *command;
}

}  // namespace quillon
