#include "cli/Environment.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

namespace quillon {

std::optional<std::string> Environment(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

std::string FirstLineOf(const std::string& command) {
    std::FILE* const output = popen(command.c_str(), "r");
    if (output == nullptr) throw std::runtime_error("it could not be started");
    std::string text;
    for (int unit = std::fgetc(output); unit != EOF; unit = std::fgetc(output))
        text += static_cast<char>(unit);
    if (pclose(output) != 0) throw std::runtime_error("it failed");
    text.erase(std::min(text.find_first_of("\r\n"), text.size()));
    if (text.empty()) throw std::runtime_error("it printed nothing");
    return text;
}

}  // namespace quillon
