#include "cli/ManualPage.h"

#include <algorithm>
#include <cctype>

namespace quillon {

namespace {

// Text as it stands: nothing in it is an escape or a request.
std::string Escaped(const std::string& text) {
    std::string escaped;
    bool lineBegins = true;
    for (const char each : text) {
        if (lineBegins && (each == '.' || each == '\'')) escaped += "\\&";
        if (each == '\\') {
            escaped += "\\e";
        } else if (each == '-') {
            escaped += "\\-";
        } else {
            escaped += each;
        }
        lineBegins = each == '\n';
    }
    return escaped;
}

std::string Bold(const std::string& text) {
    return "\\fB" + Escaped(text) + "\\fR";
}

std::string Italic(const std::string& text) {
    return "\\fI" + Escaped(text) + "\\fR";
}

std::string Dashed(std::string name) {
    std::replace(name.begin(), name.end(), ' ', '-');
    return name.empty() ? "quillon" : "quillon-" + name;
}

std::string InCapitals(std::string text) {
    for (char& each : text)
        each = static_cast<char>(std::toupper(static_cast<unsigned char>(each)));
    return text;
}

std::string ValueOf(const OptionModel& option) {
    if (!option.takesValue || option.argument) return {};
    std::string choices;
    for (const std::string& choice : option.choices)
        choices += (choices.empty() ? "" : "|") + choice;
    return " " + Italic(choices.empty() ? option.value : choices);
}

std::string NamesOf(const OptionModel& option) {
    std::string names;
    for (const std::string& name : option.names)
        names += (names.empty() ? "" : ", ") + (option.argument ? Italic(name) : Bold(name));
    return names;
}

std::string Synopsis(const CommandModel& command) {
    std::string text = Bold(command.name.empty() ? "quillon" : "quillon " + command.name);
    if (!command.commands.empty()) return text + " " + Italic("COMMAND") + " ...\n";
    text += " [" + Italic("OPTIONS") + "]";
    for (const OptionModel& option : command.options) {
        if (!option.argument) continue;
        text += option.required ? " " + NamesOf(option) : " [" + NamesOf(option) + "]";
    }
    return text + "\n";
}

void AppendOption(const OptionModel& option, std::string& page) {
    page += ".TP\n" + NamesOf(option) + ValueOf(option) + "\n" + Escaped(option.description) + "\n";
}

void AppendOptions(const CommandModel& command, std::string& page) {
    std::string group;
    for (const bool arguments : {true, false}) {
        for (const OptionModel& option : command.options) {
            if (option.argument != arguments) continue;
            const std::string of = arguments ? "Arguments" : option.group;
            if (of != group) page += ".SH " + Escaped(InCapitals(of)) + "\n";
            group = of;
            AppendOption(option, page);
        }
    }
}

// Of a command of a command, indented: what it takes beside what the other takes, too.
void AppendOwnOptions(const CommandModel& command, const CommandModel& other, std::string& page) {
    std::string own;
    for (const OptionModel& option : command.options) {
        const bool both =
            std::any_of(other.options.begin(), other.options.end(),
                        [&](const OptionModel& each) { return each.names == option.names; });
        if (!both) AppendOption(option, own);
    }
    if (!own.empty()) page += ".RS\n" + own + ".RE\n";
}

void AppendCommands(const CommandModel& command, std::string& page) {
    if (command.commands.empty()) return;
    page += ".SH COMMANDS\n";
    for (const CommandModel& each : command.commands) {
        // Commands of a command have no page of their own.
        const bool inner = !command.name.empty();
        page += ".TP\n" + (inner ? Synopsis(each) : Bold(each.name) + "\n") +
                Escaped(each.description) +
                (each.commands.empty() ? "" : ": see " + Bold(Dashed(each.name)) + "(1)") + "\n";
        if (inner) AppendOwnOptions(each, command, page);
    }
}

}  // namespace

std::string ManualPage(const CommandModel& command) {
    std::string page = ".TH " + Escaped(InCapitals(Dashed(command.name))) +
                       " 1 \"\" \"quillon " QUILLON_VERSION "\"\n.SH NAME\n" +
                       Escaped(Dashed(command.name)) + " \\- " + Escaped(command.description) +
                       "\n.SH SYNOPSIS\n" + Synopsis(command);
    AppendCommands(command, page);
    AppendOptions(command, page);
    if (!command.footer.empty()) page += ".SH NOTES\n.nf\n" + Escaped(command.footer) + "\n.fi\n";
    if (!command.name.empty()) page += ".SH SEE ALSO\n" + Bold("quillon") + "(1)\n";
    return page;
}

}  // namespace quillon
