#include "direct/SpillFile.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "core/Error.h"
#include "core/Text.h"
#include "direct/TemporaryFile.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowFailure(std::u16string_view action) {
    throw Error(ErrorNumber::FileAccess,
                std::u16string(u"A temporary file for rows cannot be ")
                    .append(action)
                    .append(u": ")
                    .append(FromUtf8(std::generic_category().message(errno))));
}

}  // namespace

std::uint64_t SpillFile::Append(std::string_view bytes) {
    if (file_ == nullptr) {
        file_.reset(OpenTemporaryFile());
        if (file_ == nullptr) ThrowFailure(u"made");
        // Pieces are large. One that finds no room is told here, not when it is read.
        (void)std::setvbuf(file_.get(), nullptr, _IONBF, 0);
    }
    if (!SeekFile(file_.get(), size_) ||
        std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
        ThrowFailure(u"written");
    }
    const std::uint64_t begin = size_;
    size_ += bytes.size();
    return begin;
}

void SpillFile::Read(std::uint64_t from, char* into, std::size_t size) {
    if (size == 0) return;
    if (file_ == nullptr || !SeekFile(file_.get(), from) ||
        std::fread(into, 1, size, file_.get()) != size) {
        ThrowFailure(u"read");
    }
}

}  // namespace QuillonLib
