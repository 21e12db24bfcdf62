#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>

#include "direct/TemporaryFile.h"

namespace QuillonLib {

namespace {

std::atomic<unsigned> last = 0;

std::wstring NextName() {
    return L"quillon-" + std::to_wstring(_getpid()) + L"-" + std::to_wstring(++last) + L".tmp";
}

}  // namespace

// tmpfile would make it in the root of the drive, where few may write.
std::FILE* OpenTemporaryFile() noexcept try {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (error) {
        errno = ENOENT;
        return nullptr;
    }
    constexpr int Flags =
        _O_RDWR | _O_BINARY | _O_CREAT | _O_EXCL | _O_TEMPORARY | _O_SHORT_LIVED | _O_NOINHERIT;
    constexpr int MostTries = 1000;  // names that an ended process of that number left behind
    int descriptor = -1;
    for (int tries = 0; descriptor < 0 && tries < MostTries; ++tries) {
        descriptor = _wopen((folder / NextName()).c_str(), Flags, _S_IREAD | _S_IWRITE);
        if (descriptor < 0 && errno != EEXIST) return nullptr;
    }
    if (descriptor < 0) return nullptr;
    std::FILE* const file = _fdopen(descriptor, "w+b");
    if (file == nullptr) (void)_close(descriptor);
    return file;
} catch (...) {
    errno = ENOMEM;
    return nullptr;
}

bool SeekFile(std::FILE* file, std::uint64_t to) noexcept {
    return _fseeki64(file, static_cast<long long>(to), SEEK_SET) == 0;
}

}  // namespace QuillonLib
