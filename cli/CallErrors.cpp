#include "cli/CallErrors.h"

#include <CLI/App.hpp>
#include <algorithm>

#include "cli/Suggestion.h"

namespace quillon {

namespace {

std::string ListOf(const std::vector<std::string>& names) {
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    return list;
}

// Of a call: "--table" of "--table=t".
std::string NameOf(const std::string& argument) {
    return argument.substr(0, argument.find('='));
}

bool IsOption(const std::string& argument) {
    return argument.size() > 1 && argument.front() == '-';
}

bool HasOption(const CLI::App& command, const std::string& name) {
    return command.get_option_no_throw(name) != nullptr;
}

template <class Visit>
void ForEachCommand(const CLI::App& app, const Visit& visit) {
    visit(app);
    for (const CLI::App* command : app.get_subcommands(nullptr))
        ForEachCommand(*command, visit);
}

bool IsKnown(const CLI::App& app, const std::string& name) {
    bool known = false;
    ForEachCommand(app, [&](const CLI::App& command) { known |= HasOption(command, name); });
    return known;
}

// Not one that is a flag for any of the commands.
bool NeedsValue(const CLI::App& app, const std::string& name) {
    bool known = false;
    bool always = true;
    ForEachCommand(app, [&](const CLI::App& command) {
        const CLI::Option* const option = command.get_option_no_throw(name);
        if (option == nullptr) return;
        known = true;
        always &= option->get_items_expected_min() > 0;
    });
    return known && always;
}

// The first word behind `command` that is neither an option of its nor an option's value.
const std::string* InnerName(const CLI::App& command, const std::vector<std::string>& arguments) {
    for (std::size_t at = 1; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (!IsOption(argument)) return &argument;
        const CLI::Option* option = command.get_option_no_throw(NameOf(argument));
        const bool hasValue = argument.find('=') != std::string::npos;
        if (option != nullptr && option->get_items_expected_max() > 0 && !hasValue) ++at;
    }
    return nullptr;
}

}  // namespace

std::vector<std::string> CommandNames(const CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        names.push_back(command->get_name());
    return names;
}

std::vector<std::string> OptionNames(const CLI::App& command) {
    std::vector<std::string> names;
    for (const CLI::Option* option : command.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    }
    return names;
}

const CLI::App* FindCommand(const CLI::App& app, const std::string& name) {
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        if (command->get_name() == name) return command;
    }
    return nullptr;
}

const CLI::App& RequireCommand(const CLI::App& app, const std::string& name,
                               const std::string& called) {
    if (const CLI::App* const command = FindCommand(app, name)) return *command;
    const std::vector<std::string> known = CommandNames(app);
    if (known.empty()) throw CLI::ValidationError(called + " has no commands of its own");
    const std::string lacks =
        app.get_parent() == nullptr ? "there is no command " : called + " has no command ";
    throw CLI::ValidationError(lacks + name + DidYouMean(name, known));
}

bool BeginsWithOption(const CLI::App& app, const std::vector<std::string>& arguments) {
    if (arguments.empty()) {
        throw CLI::ValidationError("a command is missing: one of " + ListOf(CommandNames(app)));
    }
    if (!IsOption(arguments.front())) return false;
    const std::string name = NameOf(arguments.front());
    if (HasOption(app, name)) return true;
    bool elsewhere = false;
    ForEachCommand(app, [&](const CLI::App& command) { elsewhere |= HasOption(command, name); });
    throw CLI::ValidationError("quillon has no option " + name +
                               (elsewhere ? "; options of a command stand behind it"
                                          : DidYouMean(name, OptionNames(app))));
}

void RequireInnerCommand(const CLI::App& app, const std::vector<std::string>& arguments) {
    const CLI::App* const command =
        arguments.empty() ? nullptr : FindCommand(app, arguments.front());
    if (command == nullptr || command->get_require_subcommand_min() == 0) return;
    for (const std::string& argument : arguments) {
        if (argument == "--help" || argument == "-h") return;
    }
    const std::string called = "quillon " + command->get_name();
    const std::string* const name = InnerName(*command, arguments);
    if (name == nullptr) {
        throw CLI::ValidationError(called + " needs a command: one of " +
                                   ListOf(CommandNames(*command)));
    }
    RequireCommand(*command, *name, called);
}

void RefuseEmptyValues(CLI::App& app) {
    for (CLI::Option* option : app.get_options()) {
        if (option->get_items_expected_max() == 0) continue;
        option->check([](const std::string& text) {
            return std::string(text.empty() ? "its value is empty" : "");
        });
    }
    for (CLI::App* command : app.get_subcommands(nullptr))
        RefuseEmptyValues(*command);
}

void RequireValues(const CLI::App& app, const std::vector<std::string>& arguments) {
    for (std::size_t at = 0; at < arguments.size(); ++at) {
        const std::string& argument = arguments[at];
        if (argument == "--") return;
        if (!IsOption(argument)) continue;
        const std::string name = NameOf(argument);
        if (argument.starts_with("--") && argument.find('=') + 1 == argument.size() &&
            IsKnown(app, name)) {
            throw CLI::ValidationError(name + ": its value is empty");
        }
        if (at + 1 == arguments.size() || !NeedsValue(app, argument)) continue;
        const std::string& value = arguments[++at];
        if (IsOption(value) && IsKnown(app, NameOf(value))) {
            throw CLI::ValidationError(argument + " needs a value, and " + NameOf(value) +
                                       " is an option: such a value is written behind a \"=\"");
        }
    }
}

std::string SentenceOf(const CLI::App& app, const CLI::ArgumentMismatch& error,
                       const std::vector<std::string>& arguments) {
    std::string twice;
    bool missing = false;
    ForEachCommand(app, [&](const CLI::App& command) {
        for (const CLI::Option* option : command.get_options()) {
            const auto most =
                static_cast<std::size_t>(std::max(1, option->get_items_expected_max()));
            if (option->count() > most) twice = option->get_name();
        }
        missing |= !arguments.empty() && HasOption(command, arguments.back());
    });
    if (!twice.empty()) return twice + " can be given only once";
    if (missing) return arguments.back() + " needs a value";
    return error.what();
}

}  // namespace quillon
