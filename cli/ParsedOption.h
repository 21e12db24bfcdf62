// Options whose texts are parsed by functions of their own.
#pragma once

#include <CLI/App.hpp>
#include <stdexcept>
#include <string>

namespace quillon {

// `target` gets what `parse` makes of the text; what it throws is told with the option's name.
template <class Target, class Parse>
CLI::Option* AddParsed(CLI::App& command, const char* name, Target& target, Parse parse,
                       const char* what) {
    return command.add_option_function<std::string>(
        name,
        [name, &target, parse](const std::string& text) {
            try {
                target = parse(text);
            } catch (const std::runtime_error& error) {
                throw CLI::ValidationError(std::string(name) + ": " + error.what());
            }
        },
        what);
}

}  // namespace quillon
