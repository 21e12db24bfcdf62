#include "cli/StandardStreams.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <streambuf>
#include <string>

#include "cli/Guarded.h"
#include "core/Text.h"

namespace quillon {

namespace {

// How many bytes at the end of the text begin a character that is not whole yet.
std::size_t Unfinished(const std::string& utf8) {
    for (std::size_t back = 1; back <= std::min<std::size_t>(3, utf8.size()); ++back) {
        const auto byte = static_cast<unsigned char>(utf8[utf8.size() - back]);
        if ((byte & 0xC0) == 0x80) continue;
        const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
        return length > back ? back : 0;
    }
    return 0;
}

// Writes to a console in Unicode, whatever code page it is set to.
class ConsoleBuffer final : public std::streambuf {
  public:
    explicit ConsoleBuffer(HANDLE console) : console_(console) {}

  protected:
    int_type overflow(int_type unit) override {
        if (traits_type::eq_int_type(unit, traits_type::eof())) return traits_type::not_eof(unit);
        const char one = traits_type::to_char_type(unit);
        return xsputn(&one, 1) == 1 ? unit : traits_type::eof();
    }
    std::streamsize xsputn(const char* bytes, std::streamsize size) override {
        pending_.append(bytes, static_cast<std::size_t>(size));
        constexpr std::size_t Enough = 4096;
        return pending_.size() < Enough || WritePending() ? size : 0;
    }
    int sync() override { return WritePending() ? 0 : -1; }

  private:
    bool WritePending() {
        const std::size_t whole = pending_.size() - Unfinished(pending_);
        const std::u16string text =
            QuillonLib::FromUtf8(std::string_view(pending_).substr(0, whole));
        pending_.erase(0, whole);
        for (std::size_t at = 0; at < text.size();) {
            constexpr std::size_t MostAtOnce = 8000;
            DWORD written = 0;
            const auto size = static_cast<DWORD>(std::min(text.size() - at, MostAtOnce));
            if (!WriteConsoleW(console_, text.data() + at, size, &written, nullptr) ||
                written == 0) {
                errno = EIO;
                return false;
            }
            at += written;
        }
        return true;
    }

    HANDLE console_;
    std::string pending_;
};

void WriteToConsole(std::ostream& stream, DWORD which) {
    const HANDLE handle = GetStdHandle(which);
    DWORD mode = 0;
    if (!GetConsoleMode(handle, &mode)) return;
    // Lives as long as the stream.
    stream.rdbuf(new ConsoleBuffer(handle));
}

}  // namespace

// Files and pipes get bytes as they are.
void SecureStandardStreams() noexcept {
    for (std::FILE* const stream : {stdin, stdout, stderr})
        (void)_setmode(_fileno(stream), _O_BINARY);
    WriteToConsole(std::cout, STD_OUTPUT_HANDLE);
    WriteToConsole(std::cerr, STD_ERROR_HANDLE);
}

int CloseStandardOutput(int exitCode) noexcept {
    std::cout.flush();
    if (std::fflush(stdout) == 0 && _close(_fileno(stdout)) == 0) return exitCode;
    (void)std::fprintf(stderr, "quillon: cannot write to standard output: %s\n",
                       std::strerror(errno));
    return Failed;
}

}  // namespace quillon
