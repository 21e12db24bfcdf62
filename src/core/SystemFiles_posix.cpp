#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "core/SystemFiles.h"
#include "core/WholeFile.h"

namespace QuillonLib {

namespace {

namespace fs = std::filesystem;

std::error_code LastSystemError() {
    return {errno, std::generic_category()};
}

class StdioFile final : public FileOperations::File {
  public:
    explicit StdioFile(std::FILE* file) : file_(file) {}
    ~StdioFile() override {
        if (file_ != nullptr) (void)std::fclose(file_);
    }
    StdioFile(const StdioFile&) = delete;
    StdioFile& operator=(const StdioFile&) = delete;

    std::error_code Write(std::string_view bytes) override {
        const bool whole = std::fwrite(bytes.data(), 1, bytes.size(), file_) == bytes.size();
        return whole ? std::error_code() : LastSystemError();
    }
    std::error_code Sync() override {
        if (std::fflush(file_) != 0 || fsync(fileno(file_)) != 0) return LastSystemError();
        return {};
    }
    std::error_code Close() override {
        std::FILE* file = file_;
        file_ = nullptr;
        return std::fclose(file) == 0 ? std::error_code() : LastSystemError();
    }

  private:
    std::FILE* file_;
};

class StdioFiles final : public FileOperations {
  public:
    std::unique_ptr<File> Create(const fs::path& path, std::error_code& failure) override {
        std::FILE* file = std::fopen(path.c_str(), "wbx");
        if (file == nullptr) {
            failure = LastSystemError();
            return nullptr;
        }
        try {
            return std::make_unique<StdioFile>(file);
        } catch (...) {
            (void)std::fclose(file);
            Remove(path);
            throw;
        }
    }
    std::error_code Rename(const fs::path& from, const fs::path& to) override {
        std::error_code failure;
        fs::rename(from, to, failure);
        return failure;
    }
    std::error_code Link(const fs::path& file, const fs::path& name) override {
        std::error_code failure;
        fs::create_hard_link(file, name, failure);
        return failure;
    }
    void Remove(const fs::path& path) noexcept override {
        std::error_code ignored;
        fs::remove(path, ignored);
    }
};

}  // namespace

FileOperations& SystemFiles() {
    static StdioFiles files;
    return files;
}

std::uint32_t ProcessNumber() {
    return static_cast<std::uint32_t>(getpid());
}

bool IsSpecial(const fs::path& path) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

fs::path BehindLinks(const fs::path& path) {
    std::error_code ignored;
    const fs::path linked = fs::weakly_canonical(path, ignored);
    return linked.empty() ? path : linked;
}

}  // namespace QuillonLib
