#include "cli/Environment.h"

#include <cstdlib>

namespace quillon {

std::optional<std::string> Environment(const char* name) {
    const char* const text = std::getenv(name);
    return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

}  // namespace quillon
