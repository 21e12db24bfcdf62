#include "cli/CommandModel.h"

#include <CLI/App.hpp>

namespace quillon {

namespace {

std::vector<std::string> Split(const std::string& text, char at) {
    std::vector<std::string> parts;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(at, begin), text.size());
        parts.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return parts;
}

// A type is "FILE", "FORMAT:{json,csv}" or "INT:INT in [1 - 64]"; "off|request" names choices, too.
void ReadType(const std::string& type, OptionModel& model) {
    model.value = type.substr(0, type.find(':'));
    const std::size_t open = type.find('{');
    const std::size_t close = type.find('}', open);
    if (close != std::string::npos) {
        model.choices = Split(type.substr(open + 1, close - open - 1), ',');
    } else if (model.value.find('|') != std::string::npos &&
               model.value.find_first_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos) {
        model.choices = Split(model.value, '|');
    }
}

}  // namespace

OptionModel ModelOf(const CLI::Option& option) {
    OptionModel model;
    for (const std::string& name : option.get_snames())
        model.names.push_back("-" + name);
    for (const std::string& name : option.get_lnames())
        model.names.push_back("--" + name);
    model.argument = model.names.empty();
    if (model.argument) model.names.push_back(option.get_name());
    model.required = option.get_required();
    model.takesValue = option.get_items_expected_max() > 0;
    if (model.takesValue) ReadType(option.get_type_name(), model);
    model.description = option.get_description();
    if (!option.get_default_str().empty())
        model.description += " (default: " + option.get_default_str() + ")";
    model.group = option.get_group();
    return model;
}

CommandModel ModelOf(const CLI::App& app, const std::string& name) {
    CommandModel model;
    model.name = name;
    model.description = app.get_description();
    model.footer = app.get_footer();
    for (const CLI::Option* option : app.get_options())
        model.options.push_back(ModelOf(*option));
    for (const CLI::App* command : app.get_subcommands(nullptr)) {
        model.commands.push_back(
            ModelOf(*command, (name.empty() ? "" : name + " ") + command->get_name()));
    }
    return model;
}

}  // namespace quillon
