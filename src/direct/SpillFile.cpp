#include "direct/SpillFile.h"

#include <cerrno>
#include <string>
#include <system_error>

#include "core/Error.h"
#include "core/Text.h"

namespace QuillonLib {

namespace {

[[noreturn]] void ThrowFailure(std::u16string_view action) {
    throw Error(ErrorNumber::FileAccess,
                std::u16string(u"A temporary file for rows cannot be ")
                    .append(action)
                    .append(u": ")
                    .append(FromUtf8(std::generic_category().message(errno))));
}

int Seek(std::FILE* file, std::uint64_t to) {
#ifdef _WIN32
    return _fseeki64(file, static_cast<long long>(to), SEEK_SET);
#else
    return fseeko(file, static_cast<off_t>(to), SEEK_SET);
#endif
}

}  // namespace

std::uint64_t SpillFile::Append(std::string_view bytes) {
    if (file_ == nullptr) {
        file_.reset(std::tmpfile());
        if (file_ == nullptr) ThrowFailure(u"made");
    }
    if (Seek(file_.get(), size_) != 0 ||
        std::fwrite(bytes.data(), 1, bytes.size(), file_.get()) != bytes.size()) {
        ThrowFailure(u"written");
    }
    const std::uint64_t begin = size_;
    size_ += bytes.size();
    return begin;
}

void SpillFile::Read(std::uint64_t from, char* into, std::size_t size) {
    if (size == 0) return;
    if (file_ == nullptr || std::fflush(file_.get()) != 0 || Seek(file_.get(), from) != 0 ||
        std::fread(into, 1, size, file_.get()) != size) {
        ThrowFailure(u"read");
    }
}

}  // namespace QuillonLib
