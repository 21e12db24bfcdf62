#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <iostream>
#include <stdexcept>
#include <system_error>

#include "cli/Console.h"
#include "cli/Interrupt.h"
#include "cli/Terminal.h"

namespace quillon {

namespace {

constexpr std::size_t UsualWidth = 80;

// The terminal's settings while its echo is off, for the signal that ends the process.
termios settingsToRestore;
std::atomic<bool> echoIsOff = false;

void RestoreEcho() noexcept {
    if (echoIsOff) tcsetattr(STDIN_FILENO, TCSAFLUSH, &settingsToRestore);
}

// Turns the terminal's echo off while it lives, and holds back the other keys that would leave the
// terminal so: the one that quits and the one that suspends.
class EchoOff {
  public:
    EchoOff() {
        sigset_t keys{};
        sigemptyset(&keys);
        sigaddset(&keys, SIGQUIT);
        sigaddset(&keys, SIGTSTP);
        pthread_sigmask(SIG_BLOCK, &keys, &signalsBefore_);
        if (tcgetattr(STDIN_FILENO, &settingsToRestore) != 0) return;
        BeforeEndingAtOnce(RestoreEcho);
        echoIsOff = true;
        termios quiet = settingsToRestore;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~EchoOff() {
        RestoreEcho();
        echoIsOff = false;
        pthread_sigmask(SIG_SETMASK, &signalsBefore_, nullptr);
    }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

  private:
    sigset_t signalsBefore_{};
};

}  // namespace

bool IsTerminal(Stream stream) noexcept {
    switch (stream) {
        case Stream::Input:
            return isatty(STDIN_FILENO) == 1;
        case Stream::Result:
            return isatty(STDOUT_FILENO) == 1;
        case Stream::Notes:
            return isatty(STDERR_FILENO) == 1;
    }
    return false;
}

bool ObeysEscapes(Stream stream) noexcept {
    return IsTerminal(stream);
}

std::optional<std::size_t> WidthOf(Stream stream) noexcept {
    if (!IsTerminal(stream)) return std::nullopt;
    const int descriptor = stream == Stream::Input    ? STDIN_FILENO
                           : stream == Stream::Result ? STDOUT_FILENO
                                                      : STDERR_FILENO;
    winsize size{};
    const bool told = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return told ? size.ws_col : UsualWidth;
}

// Read unit by unit and past std::cin, whose reading would go on when a signal comes.
std::optional<std::string> ReadAnswer() {
    std::string line;
    for (;;) {
        WaitForInput(STDIN_FILENO);
        char unit = 0;
        if (read(STDIN_FILENO, &unit, 1) != 1) break;
        if (unit == '\n') return line;
        line += unit;
    }
    return line.empty() ? std::nullopt : std::optional(line);
}

std::optional<std::string> ReadUnseenAnswer(const std::string& prompt) {
    const EchoOff quiet;
    std::cerr << prompt << std::flush;
    return ReadAnswer();
}

std::string ReadAllInput() {
    std::string text;
    std::array<char, 64 << 10> piece{};
    for (;;) {
        WaitForInput(STDIN_FILENO);
        const ssize_t size = read(STDIN_FILENO, piece.data(), piece.size());
        if (size == 0) return text;
        if (size > 0) {
            text.append(piece.data(), static_cast<std::size_t>(size));
        } else if (errno != EINTR) {
            throw std::runtime_error("cannot read standard input: " +
                                     std::generic_category().message(errno));
        }
    }
}

}  // namespace quillon
