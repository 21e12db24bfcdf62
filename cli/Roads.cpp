#include "cli/Roads.h"

#include <CLI/App.hpp>

namespace quillon {

void RequireRoad(const CLI::App& command, bool byServer) {
    const std::string other = byServer ? DirectGroup : ByServerGroup;
    for (const CLI::Option* option : command.get_options()) {
        if (option->count() == 0 || option->get_group() != other) continue;
        const std::string name = "--" + option->get_lnames().front();
        throw CLI::ValidationError(
            name + (byServer ? " does not go with --by-server: there the server compares"
                             : " goes with --by-server only: without it no server compares"));
    }
}

}  // namespace quillon
