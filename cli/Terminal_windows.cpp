#include "cli/Terminal.h"

#include <io.h>
#include <windows.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "cli/Console.h"
#include "cli/Interrupt.h"
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

// A line being typed. The call that reads it is not ended by Ctrl-C everywhere, so a thread of its
// own makes it, which is left behind where the program ends first.
struct TypedLine {
    std::u16string text;
    std::atomic<bool> done = false;
};

void ReadLine(TypedLine& line) {
    std::array<char16_t, 512> piece{};
    DWORD size = 0;
    while (!line.text.ends_with(u'\n') &&
           ReadConsoleW(HandleOf(Stream::Input), piece.data(), static_cast<DWORD>(piece.size()),
                        &size, nullptr) &&
           size > 0) {
        line.text.append(piece.data(), size);
    }
    line.done = true;
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

std::optional<std::size_t> WidthOf(Stream stream) noexcept {
    if (!IsTerminal(stream)) return std::nullopt;
    constexpr std::size_t UsualWidth = 80;
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (GetConsoleScreenBufferInfo(HandleOf(stream), &info) == FALSE) return UsualWidth;
    const int width = info.srWindow.Right - info.srWindow.Left + 1;
    return width > 0 ? static_cast<std::size_t>(width) : UsualWidth;
}

std::optional<std::string> ReadAnswer() {
    const auto typed = std::make_shared<TypedLine>();
    std::thread([typed] { ReadLine(*typed); }).detach();
    constexpr DWORD Patience = 20;  // milliseconds
    while (!typed->done) {
        StopIfInterrupted();
        Sleep(Patience);
    }
    // Ctrl-C ends a line, too, perhaps before it is noted.
    if (typed->text.empty()) Sleep(10 * Patience);
    StopIfInterrupted();
    std::u16string& line = typed->text;
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
