#include "cli/Paths.h"

#include <stdexcept>

#include "cli/Environment.h"

namespace quillon {

std::filesystem::path PathOf(const std::string& name) {
    return name;
}

std::string NameOf(const std::filesystem::path& path) {
    return path.string();
}

std::filesystem::path ConfigurationFolder() {
    const std::filesystem::path chosen = Environment("XDG_CONFIG_HOME").value_or("");
    if (chosen.is_absolute()) return chosen / "quillon";
    const std::filesystem::path home = Environment("HOME").value_or("");
    if (home.is_absolute()) return home / ".config" / "quillon";
    throw std::runtime_error("neither XDG_CONFIG_HOME nor HOME names a folder for configurations");
}

std::FILE* OpenToRead(const std::string& name) {
    return std::fopen(name.c_str(), "rb");
}

// No command that is run for a password gets it.
std::FILE* OpenToAppend(const std::string& name) {
    return std::fopen(name.c_str(), "abe");
}

}  // namespace quillon
