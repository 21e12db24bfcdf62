#include "cli/Paths.h"

namespace quillon {

std::filesystem::path PathOf(const std::string& name) {
    return name;
}

std::string NameOf(const std::filesystem::path& path) {
    return path.string();
}

std::FILE* OpenToRead(const std::string& name) {
    return std::fopen(name.c_str(), "rb");
}

}  // namespace quillon
