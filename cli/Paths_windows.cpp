#include "cli/Paths.h"

#include <stdexcept>

#include "cli/Environment.h"
#include "core/Text.h"

namespace quillon {

std::filesystem::path PathOf(const std::string& name) {
    return QuillonLib::FromUtf8(name);
}

std::string NameOf(const std::filesystem::path& path) {
    return QuillonLib::ToUtf8(path.u16string());
}

std::filesystem::path ConfigurationFolder() {
    const std::filesystem::path chosen = PathOf(Environment("APPDATA").value_or(""));
    if (chosen.is_absolute()) return chosen / "quillon";
    throw std::runtime_error("APPDATA names no folder for configurations");
}

std::FILE* OpenToRead(const std::string& name) {
    return _wfopen(PathOf(name).c_str(), L"rb");
}

std::FILE* OpenToAppend(const std::string& name) {
    return _wfopen(PathOf(name).c_str(), L"ab");
}

}  // namespace quillon
