// What is wrong with the words of a call, told in sentences: the parser's own words for it name
// neither what is wrong nor what is near.
#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
class ArgumentMismatch;
}  // namespace CLI

namespace quillon {

std::vector<std::string> CommandNames(const CLI::App& app);
std::vector<std::string> OptionNames(const CLI::App& command);

// The command that stands first, nullptr where there is none of that name.
const CLI::App* FindCommand(const CLI::App& app, const std::string& name);

// `called`: how the one that has the command is called, "quillon template". Throws
// CLI::ValidationError where there is no such command.
const CLI::App& RequireCommand(const CLI::App& app, const std::string& name,
                               const std::string& called);

// Whether a call begins with an option of the program itself. Throws CLI::ValidationError for a
// call that begins with another one, and for one without a word.
bool BeginsWithOption(const CLI::App& app, const std::vector<std::string>& arguments);

// Throws CLI::ValidationError where the command that stands first needs one of its own, and what
// stands there is none.
void RequireInnerCommand(const CLI::App& app, const std::vector<std::string>& arguments);

// From now on no option and no argument takes an empty text: a shell makes one of a variable that
// is not set, and what was asked for would be left out without a word.
void RefuseEmptyValues(CLI::App& app);

// Throws CLI::ValidationError for "--option=" without a value, for which the parser would take the
// next word, and where the word that it would take is an option itself.
void RequireValues(const CLI::App& app, const std::vector<std::string>& arguments);

// For a call in which an option is without its value, or there too often.
std::string SentenceOf(const CLI::App& app, const CLI::ArgumentMismatch& error,
                       const std::vector<std::string>& arguments);

}  // namespace quillon
