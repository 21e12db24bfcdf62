#include "cli/Completion.h"

#include <map>
#include <set>

namespace quillon {

namespace {

std::string Joined(const std::vector<std::string>& words, const char* between) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : between) + word;
    return text;
}

std::string LastWord(const std::string& name) {
    return name.substr(name.find_last_of(' ') + 1);
}

std::vector<std::string> CommandNames(const CommandModel& command) {
    std::vector<std::string> names;
    for (const CommandModel& each : command.commands)
        names.push_back(LastWord(each.name));
    return names;
}

std::vector<std::string> OptionNames(const CommandModel& command) {
    std::vector<std::string> names;
    for (const OptionModel& option : command.options) {
        if (!option.argument) names.insert(names.end(), option.names.begin(), option.names.end());
    }
    return names;
}

// Commands that have commands of their own, and what each of those takes.
template <class Visit>
void ForEachCommand(const CommandModel& command, const Visit& visit) {
    for (const CommandModel& each : command.commands) {
        visit(each);
        ForEachCommand(each, visit);
    }
}

// The choices of options, by the pattern of a shell's case: "-f|--format". Two commands may give an
// option of one name different choices.
std::map<std::string, std::string> ChoicesByPattern(const CommandModel& command) {
    std::map<std::string, std::string> choices;
    for (const OptionModel& option : command.options) {
        if (!option.argument && !option.choices.empty())
            choices[Joined(option.names, "|")] = Joined(option.choices, " ");
    }
    return choices;
}

// How a shell offers words, and files.
struct Offers {
    std::string (*words)(const std::string&);
    const char* files;
};

void AppendOptionCases(const CommandModel& command, const Offers& offer, std::string& text) {
    text += "        case $previous in\n";
    for (const auto& [pattern, choices] : ChoicesByPattern(command))
        text += "        " + pattern + ") " + offer.words(choices) + "; return ;;\n";
    std::vector<std::string> withValue;
    for (const OptionModel& option : command.options) {
        if (option.argument || !option.takesValue || !option.choices.empty()) continue;
        withValue.insert(withValue.end(), option.names.begin(), option.names.end());
    }
    if (!withValue.empty())
        text += "        " + Joined(withValue, "|") + ") " + offer.files + "; return ;;\n";
    text += "        esac\n";
}

// `command`: the words of the line that name it, one or two.
std::string CommandCases(const CommandModel& program, const Offers& offer) {
    std::string text = "    case $command in\n";
    ForEachCommand(program, [&](const CommandModel& command) {
        text += "    '" + command.name + "')\n";
        AppendOptionCases(command, offer, text);
        std::vector<std::string> words = CommandNames(command);
        const std::vector<std::string> options = OptionNames(command);
        words.insert(words.end(), options.begin(), options.end());
        text += "        " + offer.words(Joined(words, " ")) + " ;;\n";
    });
    return text + "    esac\n";
}

// The first word, and where that has commands of its own, the first of the words behind it that
// names one: options may stand between them. `rest`: those words, but for the one that is
// completed.
std::string FindCommand(const CommandModel& program, const char* first, const char* rest) {
    std::string text = std::string("    command=") + first + "\n    case $command in\n";
    for (const CommandModel& command : program.commands) {
        if (command.commands.empty()) continue;
        text += "    " + command.name + ")\n        for word in \"" + rest +
                "\"; do\n            case $word in " + Joined(CommandNames(command), "|") +
                ") command=\"$command $word\"; break ;; esac\n        done ;;\n";
    }
    return text + "    esac\n";
}

std::string FishQuoted(const std::string& text) {
    std::string quoted = "'";
    for (const char each : text) {
        if (each == '\'' || each == '\\') quoted += '\\';
        quoted += each;
    }
    return quoted + "'";
}

void AppendFishOptions(const CommandModel& command, const std::string& condition,
                       std::string& text) {
    for (const OptionModel& option : command.options) {
        if (option.argument) continue;
        text += "complete -c quillon -n " + FishQuoted(condition);
        for (const std::string& name : option.names) {
            text += name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        if (!option.choices.empty()) {
            text += " -x -a " + FishQuoted(Joined(option.choices, " "));
        } else if (option.takesValue) {
            text += " -r";
        }
        text += " -d " + FishQuoted(option.description) + "\n";
    }
}

}  // namespace

std::string BashCompletion(const CommandModel& program) {
    const Offers offer{[](const std::string& words) {
                           return "COMPREPLY=($(compgen -W '" + words + "' -- \"$current\"))";
                       },
                       // what bash offers where nothing is
                       "COMPREPLY=()"};
    return "# Completion of quillon in bash.\n"
           "_quillon() {\n"
           "    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}\n"
           "    local command word\n"
           "    COMPREPLY=()\n"
           "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
           "        " +
           offer.words(Joined(CommandNames(program), " ")) +
           "\n"
           "        return\n"
           "    fi\n" +
           FindCommand(program, "${COMP_WORDS[1]}", "${COMP_WORDS[@]:2:COMP_CWORD-2}") +
           CommandCases(program, offer) +
           "}\n"
           "complete -o default -F _quillon quillon\n";
}

std::string ZshCompletion(const CommandModel& program) {
    const Offers offer{[](const std::string& words) { return "compadd -- " + words; }, "_files"};
    return "#compdef quillon\n"
           "# Completion of quillon in zsh.\n"
           "_quillon() {\n"
           "    local previous=${words[CURRENT-1]} command word\n"
           "    if (( CURRENT == 2 )); then\n"
           "        " +
           offer.words(Joined(CommandNames(program), " ")) +
           "\n"
           "        return\n"
           "    fi\n" +
           FindCommand(program, "${words[2]}", "${words[@]:2:CURRENT-3}") +
           CommandCases(program, offer) +
           "}\n"
           "_quillon \"$@\"\n";
}

std::string FishCompletion(const CommandModel& program) {
    std::string text =
        "# Completion of quillon in fish.\n"
        "complete -c quillon -f -n __fish_use_subcommand\n";
    for (const CommandModel& command : program.commands) {
        text += "complete -c quillon -n __fish_use_subcommand -a " + command.name + " -d " +
                FishQuoted(command.description) + "\n";
        const std::string seen = "__fish_seen_subcommand_from " + command.name;
        // Behind a command within, its own options are offered, the outer one's among them.
        std::string within;
        for (const CommandModel& inner : command.commands)
            within += " " + LastWord(inner.name);
        AppendFishOptions(
            command,
            within.empty() ? seen : seen + "; and not __fish_seen_subcommand_from" + within, text);
        for (const CommandModel& inner : command.commands) {
            const std::string name = LastWord(inner.name);
            text += "complete -c quillon -f -n " + FishQuoted(seen) + " -a " + name + " -d " +
                    FishQuoted(inner.description) + "\n";
            AppendFishOptions(inner, seen + "; and __fish_seen_subcommand_from " + name, text);
        }
    }
    return text;
}

}  // namespace quillon
