#include "cli/Terminal.h"

#include <io.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "cli/Console.h"
#include "cli/Interrupt.h"
#include "core/SystemError.h"
#include "core/Text.h"

namespace quillon {

namespace {

constexpr int InputDescriptor = 0;

HANDLE HandleOf(Stream stream) {
    switch (stream) {
        case Stream::Input:
            return GetStdHandle(STD_INPUT_HANDLE);
        case Stream::Result:
            return GetStdHandle(STD_OUTPUT_HANDLE);
        case Stream::Notes:
            return GetStdHandle(STD_ERROR_HANDLE);
    }
    return INVALID_HANDLE_VALUE;
}

// The console's settings while its echo is off, for what ends the process.
DWORD modeToRestore;
std::atomic<bool> echoIsOff = false;

void RestoreEcho() noexcept {
    if (echoIsOff) SetConsoleMode(HandleOf(Stream::Input), modeToRestore);
}

class EchoOff {
  public:
    EchoOff() {
        if (!GetConsoleMode(HandleOf(Stream::Input), &modeToRestore)) return;
        BeforeEndingAtOnce(RestoreEcho);
        echoIsOff = true;
        SetConsoleMode(HandleOf(Stream::Input), modeToRestore & ~DWORD{ENABLE_ECHO_INPUT});
    }
    ~EchoOff() {
        RestoreEcho();
        echoIsOff = false;
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;
};

// Ctrl-C ends the call before the handler, in a thread of its own, has noted it.
void StopIfCalledOff() {
    if (GetLastError() != ERROR_OPERATION_ABORTED) return;
    for (int tries = 0; tries < 20; ++tries) {
        StopIfInterrupted();
        Sleep(50);
    }
}

}  // namespace

bool IsTerminal(Stream stream) noexcept {
    DWORD mode = 0;
    return GetConsoleMode(HandleOf(stream), &mode) != FALSE;
}

bool ObeysEscapes(Stream stream) noexcept {
    constexpr DWORD ObeyEscapes = 0x0004;  // since Windows 10; older ones refuse it
    DWORD mode = 0;
    const HANDLE console = HandleOf(stream);
    return GetConsoleMode(console, &mode) && SetConsoleMode(console, mode | ObeyEscapes);
}

std::optional<std::string> ReadAnswer() {
    std::u16string line;
    std::array<char16_t, 512> piece{};
    while (!line.ends_with(u'\n')) {
        StopIfInterrupted();
        DWORD size = 0;
        SetLastError(ERROR_SUCCESS);
        const BOOL done = ReadConsoleW(HandleOf(Stream::Input), piece.data(),
                                       static_cast<DWORD>(piece.size()), &size, nullptr);
        if (!done || size == 0) {
            StopIfCalledOff();
            break;
        }
        line.append(piece.data(), size);
    }
    constexpr char16_t EndOfInput = 0x1A;  // Ctrl-Z at the beginning of a line
    if (line.empty() || line.front() == EndOfInput) return std::nullopt;
    while (line.ends_with(u'\n') || line.ends_with(u'\r'))
        line.pop_back();
    return QuillonLib::ToUtf8(line);
}

std::optional<std::string> ReadUnseenAnswer(const std::string& prompt) {
    const EchoOff quiet;
    std::cerr << prompt << std::flush;
    return ReadAnswer();
}

namespace {

std::string ReadTypedInput() {
    std::string text;
    while (const auto line = ReadAnswer())
        text += *line + '\n';
    return text;
}

// The lines of a pipe end as Windows ends them.
std::string WithoutCarriageReturns(std::string text) {
    std::size_t to = 0;
    for (std::size_t from = 0; from < text.size(); ++from) {
        if (text[from] == '\r' && from + 1 < text.size() && text[from + 1] == '\n') continue;
        text[to++] = text[from];
    }
    text.resize(to);
    return text;
}

}  // namespace

std::string ReadAllInput() {
    if (IsTerminal(Stream::Input)) return ReadTypedInput();
    std::string text;
    std::array<char, 64 << 10> piece{};
    for (;;) {
        WaitForInput(InputDescriptor);
        const int size = _read(InputDescriptor, piece.data(), piece.size());
        if (size == 0) return WithoutCarriageReturns(std::move(text));
        if (size < 0) {
            throw std::runtime_error("cannot read standard input: " +
                                     std::generic_category().message(errno));
        }
        text.append(piece.data(), static_cast<std::size_t>(size));
    }
}

}  // namespace quillon
