#include "cli/TextFile.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include "cli/AbandonOnInterrupt.h"
#include "cli/Interrupt.h"
#include "cli/Paths.h"
#include "core/Text.h"

namespace quillon {

namespace {

using QuillonLib::FromUtf8;
using QuillonLib::IsUtf8;

struct CloseFile {
    void operator()(std::FILE* file) const { (void)std::fclose(file); }
};

std::string ReadFile(const std::string& path, std::size_t most) {
    const AbandonOnInterrupt silent;
    const auto fail = [&] {
        throw std::runtime_error("cannot read " + path + ": " +
                                 std::generic_category().message(errno));
    };
    const std::unique_ptr<std::FILE, CloseFile> file(OpenToRead(path));
    if (file == nullptr) fail();
    std::string bytes;
    std::string piece(64 << 10, '\0');
    while (const std::size_t size = std::fread(piece.data(), 1, piece.size(), file.get())) {
        if (size > most - bytes.size()) {
            throw std::runtime_error("cannot read " + path + ": it is longer than " +
                                     std::to_string(most) + " bytes");
        }
        bytes.append(piece, 0, size);
        StopIfInterrupted();
    }
    if (std::ferror(file.get()) != 0) fail();
    return bytes;
}

std::u16string DecodeUtf16(std::string_view bytes, const std::string& path) {
    if (bytes.size() % 2 != 0) throw std::runtime_error(path + " ends within a character");
    std::u16string text;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        text += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                      static_cast<unsigned char>(bytes[i + 1]) << 8);
    }
    return text;
}

}  // namespace

std::u16string ReadTextFile(const std::string& path, std::size_t most) {
    constexpr std::string_view Utf16Mark = "\xFF\xFE";
    constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
    const std::string file = ReadFile(path, most);
    std::string_view bytes = file;
    if (bytes.starts_with(Utf16Mark)) return DecodeUtf16(bytes.substr(Utf16Mark.size()), path);
    if (bytes.starts_with(Utf8Mark)) bytes.remove_prefix(Utf8Mark.size());
    if (!IsUtf8(bytes)) throw std::runtime_error(path + " is neither UTF-8 nor marked as UTF-16");
    return FromUtf8(bytes);
}

}  // namespace quillon
