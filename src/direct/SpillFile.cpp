#include "direct/SpillFile.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "core/Error.h"
#include "core/Text.h"
#include "direct/TemporaryFile.h"

namespace QuillonLib {

namespace {

// As the environment tells it, or as far as it can be told.
std::u16string FolderText() {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::temp_directory_path(error);
    if (!error) {
        const std::u8string name = folder.u8string();
        return u" in " + FromUtf8({reinterpret_cast<const char*>(name.data()), name.size()});
    }
    const char* const told = std::getenv("TMPDIR");
    return told == nullptr ? std::u16string() : u" in " + FromUtf8(told);
}

[[noreturn]] void ThrowFailure(std::u16string_view action, std::u16string_view reason) {
    throw Error(ErrorNumber::FileAccess, std::u16string(u"A temporary file for rows cannot be ")
                                             .append(action)
                                             .append(FolderText())
                                             .append(u": ")
                                             .append(reason));
}

// `reason`: of errno.
[[noreturn]] void ThrowFailure(std::u16string_view action, int reason) {
    ThrowFailure(action, FromUtf8(std::generic_category().message(reason)));
}

}  // namespace

std::uint64_t SpillFile::Append(std::string_view bytes) {
    if (file_ == nullptr) {
        file_.reset(OpenTemporaryFile());
        if (file_ == nullptr) ThrowFailure(u"made", errno);
        // Pieces are large. One that finds no room is told here, not when it is read.
        (void)std::setvbuf(file_.get(), nullptr, _IONBF, 0);
    }
    if (!SeekFile(file_.get(), size_) ||
        std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
        ThrowFailure(u"written", errno);
    }
    const std::uint64_t begin = size_;
    size_ += bytes.size();
    return begin;
}

void SpillFile::Read(std::uint64_t from, char* into, std::size_t size) {
    if (size == 0) return;
    if (file_ == nullptr || from > size_ || size > size_ - from) {
        ThrowFailure(u"read", u"it does not hold so much");
    }
    if (!SeekFile(file_.get(), from)) ThrowFailure(u"read", errno);
    if (std::fread(into, 1, size, file_.get()) == size) return;
    // at the end of a file errno is what some other call left
    if (std::ferror(file_.get()) != 0) ThrowFailure(u"read", errno);
    ThrowFailure(u"read", u"it has become shorter");
}

}  // namespace QuillonLib
