// Options whose texts are parsed by functions of their own: what is wrong with one is told in a
// sentence, which the parser's own checks do not do.
#pragma once

#include <CLI/App.hpp>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/NumberText.h"
#include "cli/Suggestion.h"

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

// Throws std::runtime_error for a text that is no number, or none of that range. The parser of
// options would take "-1" for the largest number there is.
template <class Number>
Number ParseNumberIn(const std::string& text, Number least, Number most) {
    const auto number = ParseNumber<Number>(text);
    if (number && *number >= least && *number <= most) return *number;
    throw std::runtime_error("'" + text + "' is no number from " + std::to_string(least) + " to " +
                             std::to_string(most));
}

// A whole number; without `most` as large as the type holds.
template <class Number>
CLI::Option* AddNumber(CLI::App& command, const char* name, Number& target, const char* what,
                       Number least, Number most = std::numeric_limits<Number>::max()) {
    const auto parse = [least, most](const std::string& text) {
        return ParseNumberIn<Number>(text, least, most);
    };
    return AddParsed(command, name, target, parse, what)->type_name("N");
}

// One of a few words, which help and completion tell.
inline CLI::Validator OneOf(const std::vector<std::string>& words) {
    std::string form;
    std::string list;
    for (std::size_t i = 0; i < words.size(); ++i) {
        form += (i == 0 ? "" : ",") + words[i];
        list += (i == 0 ? "" : i + 1 == words.size() ? " and " : ", ") + words[i];
    }
    const auto check = [words, list](std::string& text) {
        for (const std::string& word : words) {
            if (word == text) return std::string();
        }
        return "'" + text + "' is none of " + list +
               (text.size() > 1 ? DidYouMean(text, words) : "");
    };
    return {check, "{" + form + "}"};
}

}  // namespace quillon
