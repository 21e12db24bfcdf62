#include "cli/Console.h"

#include <termios.h>
#include <unicode/uchar.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "cli/Interrupt.h"
#include "cli/Printable.h"
#include "core/Text.h"

namespace quillon {

namespace {

constexpr std::size_t ProgressWidth = 78;

const char* CodeOf(Colour colour) {
    switch (colour) {
        case Colour::Red:
            return "\x1b[31m";
        case Colour::Green:
            return "\x1b[32m";
        case Colour::Yellow:
            return "\x1b[33m";
        case Colour::Bold:
            return "\x1b[1m";
        case Colour::Dim:
            return "\x1b[2m";
        case Colour::None:
            break;
    }
    return "";
}

std::size_t WidthOf(char32_t point) {
    const auto icu = static_cast<UChar32>(point);
    switch (u_charType(icu)) {
        case U_NON_SPACING_MARK:
        case U_ENCLOSING_MARK:
        case U_FORMAT_CHAR:
        case U_CONTROL_CHAR:
            return 0;
        default:
            break;
    }
    // The two letters of a flag are drawn in two places together.
    if (point >= 0x1F1E6 && point <= 0x1F1FF) return 1;
    const int width = u_getIntPropertyValue(icu, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

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

// A line from the terminal; none when the input ends before one. Read unit by unit and past
// std::cin, whose reading would go on when a signal comes.
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

// As much of a text as a terminal shows in so many places.
std::string Shortened(const std::string& text, std::size_t width) {
    if (DisplayWidth(text) <= width) return text;
    std::u16string units = QuillonLib::FromUtf8(text);
    while (DisplayWidth(QuillonLib::ToUtf8(units)) >= width)
        units.pop_back();
    if (!units.empty() && units.back() >= 0xD800 && units.back() <= 0xDBFF) units.pop_back();
    return QuillonLib::ToUtf8(units) + "…";
}

}  // namespace

Console::Console()
    : resultIsTerminal_(isatty(STDOUT_FILENO) == 1), noteIsTerminal_(isatty(STDERR_FILENO) == 1) {
    const char* noColour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    colours_ = resultIsTerminal_ && !dumb && (noColour == nullptr || *noColour == '\0');
}

void Console::NoteFailedWrite() {
    if (std::cout || failedWrite_) return;
    failedWrite_ = {errno == 0 ? EIO : errno, std::generic_category()};
}

void Console::Write(std::string_view text) {
    ClearProgress();
    errno = 0;
    std::cout.write(text.data(), static_cast<std::streamsize>(text.size()));
    NoteFailedWrite();
    if (failedWrite_) throw OutputFailure(failedWrite_);
}

void Console::Print(std::string_view line) {
    Write(Printable(line) + '\n');
}

void Console::Print(const StyledText& line) {
    Write(line.Text() + '\n');
}

void Console::PrintData(std::string_view bytes) {
    if (!resultIsTerminal_) return Write(bytes);
    const std::string shown = PrintableLines(bytes);
    Write(shown);
    std::string asItIs(bytes);
    std::erase(asItIs, '\r');
    if (shown == asItIs) return;
    Note(
        "quillon: control characters are shown as \\n, \\x1B ...; a file or a pipe gets them as "
        "they are");
}

void Console::Flush() {
    errno = 0;
    std::cout.flush();
    NoteFailedWrite();
    if (failedWrite_) throw OutputFailure(failedWrite_);
}

void Console::Note(std::string_view lines) {
    ClearProgress();
    errno = 0;
    std::cout.flush();
    NoteFailedWrite();  // told by the next one that may throw
    std::cerr << PrintableLines(lines) << '\n';
}

void Console::Progress(int percent, std::string_view what) {
    if (!noteIsTerminal_) return;
    const std::string line = std::to_string(percent) + "% " + Printable(what);
    std::cerr << "\r\x1b[K" << Shortened(line, ProgressWidth) << std::flush;
    progressShown_ = true;
}

void Console::ClearProgress() {
    if (!progressShown_) return;
    std::cerr << "\r\x1b[K" << std::flush;
    progressShown_ = false;
}

StyledText Console::Coloured(Colour colour, std::string_view lines) const {
    std::string text = PrintableLines(lines);
    if (!colours_ || colour == Colour::None) return StyledText(std::move(text));
    return StyledText(CodeOf(colour) + text + "\x1b[0m");
}

bool Console::Confirm(std::string_view question) {
    if (isatty(STDIN_FILENO) != 1) return false;
    ClearProgress();
    Flush();
    std::cerr << Printable(question) << " [y/N] " << std::flush;
    const std::string answer = ReadAnswer().value_or("");
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::string Console::AskSecret(std::string_view prompt) {
    if (isatty(STDIN_FILENO) != 1) throw std::runtime_error("there is no terminal to ask for it");
    ClearProgress();
    std::optional<std::string> secret;
    {
        const EchoOff quiet;
        std::cerr << Printable(prompt) << std::flush;
        secret = ReadAnswer();
    }
    std::cerr << '\n';
    if (!secret) throw std::runtime_error("there is no answer");
    return *secret;
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

std::size_t DisplayWidth(std::string_view text) {
    const std::u16string units = QuillonLib::FromUtf8(text);
    std::size_t width = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t point = units[i];
        const bool pair = point >= 0xD800 && point <= 0xDBFF && i + 1 < units.size();
        if (pair) point = 0x10000 + ((point - 0xD800) << 10) + (char32_t{units[++i]} - 0xDC00);
        width += WidthOf(point);
    }
    return width;
}

void TextTable::AddRow(std::vector<Cell> cells) {
    for (Cell& cell : cells)
        cell.text = Printable(cell.text);
    rows_.push_back(std::move(cells));
}

void TextTable::PrintTo(Console& console) const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], DisplayWidth(row[i].text));
        }
    }
    bool heading = true;
    for (const auto& row : rows_) {
        StopIfInterrupted();
        StyledText line({});
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - DisplayWidth(row[i].text), ' ');
            const Colour colour = heading ? Colour::Bold : row[i].colour;
            const bool last = i + 1 == row.size();
            if (i > 0) line.text_ += "  ";
            if (columns_[i] == Align::Right) line.text_ += padding;
            line.text_ += console.Coloured(colour, row[i].text).Text();
            if (columns_[i] == Align::Left && !last) line.text_ += padding;
        }
        console.Print(line);
        heading = false;
    }
}

}  // namespace quillon
