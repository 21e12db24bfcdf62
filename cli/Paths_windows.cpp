#include "cli/Paths.h"
#include "core/Text.h"

namespace quillon {

std::filesystem::path PathOf(const std::string& name) {
    return QuillonLib::FromUtf8(name);
}

std::string NameOf(const std::filesystem::path& path) {
    return QuillonLib::ToUtf8(path.u16string());
}

std::FILE* OpenToRead(const std::string& name) {
    return _wfopen(PathOf(name).c_str(), L"rb");
}

}  // namespace quillon
