#include "core/WholeFile.h"

#include <string>

#include "core/Error.h"
#include "core/SystemError.h"
#include "core/SystemFiles.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

namespace fs = std::filesystem;

constexpr std::size_t ChunkSize = 1 << 20;

// The temporary file: gone with this object unless it has taken the name of the real one.
class NewFile {
  public:
    NewFile(const fs::path& target, FileOperations& files) : target_(target), files_(files) {
        path_ = target;
        path_ += "." + std::to_string(ProcessNumber()) + ".new";
    }
    ~NewFile() {
        file_.reset();
        if (created_) files_.Remove(path_);
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    std::error_code Write(std::string_view bytes) {
        std::error_code failure;
        file_ = files_.Create(path_, failure);
        if (failure) return failure;
        created_ = true;
        for (std::size_t at = 0; at < bytes.size() && !failure; at += ChunkSize) {
            failure = file_->Write(bytes.substr(at, ChunkSize));
        }
        if (!failure) failure = file_->Sync();
        if (!failure) failure = file_->Close();
        return failure;
    }

    std::error_code TakeTheName(const fs::file_status& old) {
        std::error_code failure;
        if (fs::exists(old)) fs::permissions(path_, old.permissions(), failure);
        if (!failure) failure = files_.Rename(path_, target_);
        if (!failure) created_ = false;
        return failure;
    }

  private:
    fs::path target_;
    FileOperations& files_;
    fs::path path_;
    std::unique_ptr<FileOperations::File> file_;
    bool created_ = false;
};

std::error_code Write(const fs::path& path, std::string_view bytes, FileOperations& files) {
    std::error_code ignored;
    const fs::path target = BehindLinks(path);
    const fs::file_status old = fs::status(target, ignored);
    if (fs::is_directory(old)) return std::make_error_code(std::errc::is_a_directory);
    if (fs::exists(old) && (old.permissions() & fs::perms::owner_write) == fs::perms::none) {
        return std::make_error_code(std::errc::permission_denied);
    }
    NewFile file(target, files);
    const std::error_code failure = file.Write(bytes);
    return failure ? failure : file.TakeTheName(old);
}

// For people: a name that is not valid UTF-8 is no reason for another failure.
std::u16string NameOf(const fs::path& path) {
    const std::u8string name = path.u8string();
    return FromUtf8({reinterpret_cast<const char*>(name.data()), name.size()});
}

}  // namespace

void WriteWholeFile(const std::filesystem::path& path, std::string_view bytes,
                    FileOperations& files) {
    const auto fail = [&](std::u16string_view cause) {
        throw Error(ErrorNumber::FileAccess,
                    u"Cannot write the file '" + NameOf(path) + u"': " + std::u16string(cause));
    };
    if (IsSpecial(path)) fail(u"it is no regular file");
    const std::error_code failure = Write(path, bytes, files);
    if (failure) fail(TextOf(failure));
}

}  // namespace QuillonLib
