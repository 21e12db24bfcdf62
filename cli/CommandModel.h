// What the commands are called and take, for texts that are made from their help.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace quillon {

struct OptionModel {
    std::vector<std::string> names;  // "-t", "--table"; of an argument its name alone
    bool argument = false;           // has a place in place of a name
    bool required = false;
    bool takesValue = false;
    std::string value;                 // what stands for it: "FILE", "SECONDS"
    std::vector<std::string> choices;  // where it is one of a few
    std::string description;           // with the default, where the option names one
    std::string group;
};

OptionModel ModelOf(const CLI::Option& option);

struct CommandModel {
    std::string name;  // "template list"
    std::string description;
    std::string footer;
    std::vector<OptionModel> options;
    std::vector<CommandModel> commands;
};

// The program itself is the command without a name.
CommandModel ModelOf(const CLI::App& app, const std::string& name = {});

}  // namespace quillon
