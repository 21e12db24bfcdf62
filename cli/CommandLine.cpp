#include "cli/CommandLine.h"

#include <CLI/App.hpp>
#include <algorithm>
#include <string>
#include <vector>

namespace quillon {

namespace {

bool IsPlainToShells(char unit) {
    constexpr std::string_view Others = "_-./,:=@%+";
    return (unit >= '0' && unit <= '9') || (unit >= 'A' && unit <= 'Z') ||
           (unit >= 'a' && unit <= 'z') || Others.find(unit) != std::string_view::npos;
}

bool IsLogin(const std::string& name) {
    return name == "user" || name == "user2";
}

// What is about the result of one command alone.
bool IsOfTheResult(const std::string& name) {
    constexpr std::string_view Names[] = {"limit",   "sort", "only-different", "format",
                                          "verbose", "log",  "quiet"};
    return std::find(std::begin(Names), std::end(Names), name) != std::end(Names);
}

void AddOption(const CLI::Option& option, const std::string& name, std::string& call) {
    if (option.get_items_expected_max() == 0) {
        call += " --" + name;
        return;
    }
    for (const std::string& value : option.results())
        call += " --" + name + " " + (IsLogin(name) ? "NAME" : ShellWord(value));
}

}  // namespace

std::string ShellWord(std::string_view text) {
    if (!text.empty() && std::all_of(text.begin(), text.end(), IsPlainToShells))
        return std::string(text);
    std::string word = "'";
    for (const char unit : text) {
        if (unit == '\'') {
            word += "'\\''";
        } else {
            word += unit;
        }
    }
    return word + "'";
}

std::string SameCallOf(const CLI::App& command, const CLI::App& other) {
    std::string call = "quillon " + other.get_name();
    std::string options;
    for (const CLI::Option* option : command.get_options()) {
        if (option->count() == 0) continue;
        if (option->get_lnames().empty()) {
            for (const std::string& value : option->results())
                call += " " + ShellWord(value);
            continue;
        }
        const std::string& name = option->get_lnames().front();
        if (IsOfTheResult(name) || other.get_option_no_throw("--" + name) == nullptr) continue;
        AddOption(*option, name, options);
    }
    return call + options;
}

}  // namespace quillon
