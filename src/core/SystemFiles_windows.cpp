#include <windows.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/SystemFiles.h"
#include "core/WholeFile.h"

namespace QuillonLib {

namespace {

namespace fs = std::filesystem;

std::error_code LastSystemError() {
    return {static_cast<int>(GetLastError()), std::system_category()};
}

std::error_code Result(BOOL done) {
    return done != FALSE ? std::error_code() : LastSystemError();
}

class NativeFile final : public FileOperations::File {
  public:
    explicit NativeFile(HANDLE file) : file_(file) {}
    ~NativeFile() override {
        if (file_ != INVALID_HANDLE_VALUE) CloseHandle(file_);
    }
    NativeFile(const NativeFile&) = delete;
    NativeFile& operator=(const NativeFile&) = delete;

    std::error_code Write(std::string_view bytes) override {
        constexpr std::size_t MostAtOnce = std::size_t{1} << 30;
        while (!bytes.empty()) {
            const auto size = static_cast<DWORD>(std::min(bytes.size(), MostAtOnce));
            DWORD written = 0;
            if (!WriteFile(file_, bytes.data(), size, &written, nullptr)) return LastSystemError();
            if (written == 0) return std::make_error_code(std::errc::no_space_on_device);
            bytes.remove_prefix(written);
        }
        return {};
    }
    std::error_code Sync() override { return Result(FlushFileBuffers(file_)); }
    std::error_code Close() override {
        return Result(CloseHandle(std::exchange(file_, INVALID_HANDLE_VALUE)));
    }

  private:
    HANDLE file_;
};

// The new file gets the attributes and the access list of the one whose name it will take. Where
// the file system keeps no such list there is none to give.
std::error_code KeepProtection(const fs::path& from, const fs::path& to) {
    const DWORD attributes = GetFileAttributesW(to.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return {};
    constexpr DWORD Kept = FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE |
                           FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;
    if (!SetFileAttributesW(from.c_str(), attributes & Kept)) return LastSystemError();
    DWORD size = 0;
    GetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, nullptr, 0, &size);
    std::vector<BYTE> list(size);
    if (size == 0 ||
        !GetFileSecurityW(to.c_str(), DACL_SECURITY_INFORMATION, list.data(), size, &size)) {
        return {};
    }
    return Result(SetFileSecurityW(from.c_str(), DACL_SECURITY_INFORMATION, list.data()));
}

class NativeFiles final : public FileOperations {
  public:
    std::unique_ptr<File> Create(const fs::path& path, std::error_code& failure) override {
        const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                        FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            failure = LastSystemError();
            return nullptr;
        }
        try {
            return std::make_unique<NativeFile>(file);
        } catch (...) {
            CloseHandle(file);
            Remove(path);
            throw;
        }
    }
    // One step on a file system with a journal. ReplaceFile has more, and can fail between them
    // with neither file under the name.
    std::error_code Rename(const fs::path& from, const fs::path& to) override {
        if (const std::error_code failure = KeepProtection(from, to)) return failure;
        return Result(MoveFileExW(from.c_str(), to.c_str(),
                                  MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
    }
    std::error_code Link(const fs::path& file, const fs::path& name) override {
        return Result(CreateHardLinkW(name.c_str(), file.c_str(), nullptr));
    }
    void Remove(const fs::path& path) noexcept override { DeleteFileW(path.c_str()); }
};

// Opened for questions about it alone.
HANDLE OpenToAsk(const fs::path& path) {
    constexpr DWORD ShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    return CreateFileW(path.c_str(), 0, ShareAll, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

// The name behind the links, as the system has it. Empty where it cannot be told.
std::wstring FinalName(const fs::path& path) {
    const HANDLE file = OpenToAsk(path);
    if (file == INVALID_HANDLE_VALUE) return {};
    std::wstring name(std::size_t{1} << 15, L'\0');
    const DWORD length =
        GetFinalPathNameByHandleW(file, name.data(), static_cast<DWORD>(name.size()), 0);
    CloseHandle(file);
    name.resize(length < name.size() ? length : 0);
    return name;
}

}  // namespace

FileOperations& SystemFiles() {
    static NativeFiles files;
    return files;
}

std::uint32_t ProcessNumber() {
    return GetCurrentProcessId();
}

bool IsSpecial(const fs::path& path) {
    const HANDLE file = OpenToAsk(path);
    if (file == INVALID_HANDLE_VALUE) return false;
    const DWORD type = GetFileType(file);
    CloseHandle(file);
    return type != FILE_TYPE_DISK;
}

// Any other path stays as it was given: one on a share, or longer than most, is best left alone.
fs::path BehindLinks(const fs::path& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        return path;
    std::wstring name = FinalName(path);
    return name.empty() ? path : fs::path(std::move(name));
}

}  // namespace QuillonLib
