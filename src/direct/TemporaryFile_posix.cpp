#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "direct/TemporaryFile.h"

namespace QuillonLib {

std::FILE* OpenTemporaryFile() noexcept try {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        errno = error.value();
        return nullptr;
    }
    std::string name = (folder / "quillon-XXXXXX").string();
    const int descriptor = mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0) return nullptr;
    (void)unlink(name.c_str());  // the descriptor keeps it
    std::FILE* const file = fdopen(descriptor, "w+b");
    if (file == nullptr) {
        const int reason = errno;
        (void)close(descriptor);
        errno = reason;
    }
    return file;
} catch (...) {
    errno = ENOMEM;
    return nullptr;
}

bool SeekFile(std::FILE* file, std::uint64_t to) noexcept {
    return fseeko(file, static_cast<off_t>(to), SEEK_SET) == 0;
}

}  // namespace QuillonLib
