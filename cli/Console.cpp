#include "cli/Console.h"

#include <termios.h>
#include <unicode/uchar.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>

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

// Turns the terminal's echo off while it lives.
class EchoOff {
  public:
    EchoOff() {
        tcgetattr(STDIN_FILENO, &before_);
        termios quiet = before_;
        quiet.c_lflag &= static_cast<tcflag_t>(~ECHO);
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &quiet);
    }
    ~EchoOff() { tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_); }
    EchoOff(const EchoOff&) = delete;
    EchoOff& operator=(const EchoOff&) = delete;

  private:
    termios before_{};
};

}  // namespace

Console::Console()
    : resultIsTerminal_(isatty(STDOUT_FILENO) == 1), noteIsTerminal_(isatty(STDERR_FILENO) == 1) {
    const char* noColour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    colours_ = resultIsTerminal_ && !dumb && (noColour == nullptr || *noColour == '\0');
}

void Console::Print(std::string_view line) {
    ClearProgress();
    std::cout << line << '\n';
}

void Console::Flush() {
    std::cout.flush();
}

void Console::Note(std::string_view line) {
    ClearProgress();
    std::cout.flush();
    std::cerr << line << '\n';
}

void Console::Progress(int percent, std::string_view what) {
    if (!noteIsTerminal_) return;
    std::string line = std::to_string(percent) + "% " + std::string(what);
    if (line.size() > ProgressWidth) {
        line = QuillonLib::ToUtf8(QuillonLib::FromUtf8(line).substr(0, ProgressWidth - 1)) + "…";
    }
    std::cerr << "\r\x1b[K" << line << std::flush;
    progressShown_ = true;
}

void Console::ClearProgress() {
    if (!progressShown_) return;
    std::cerr << "\r\x1b[K" << std::flush;
    progressShown_ = false;
}

std::string Console::Coloured(Colour colour, std::string_view text) const {
    if (!colours_ || colour == Colour::None) return std::string(text);
    return std::string(CodeOf(colour)).append(text).append("\x1b[0m");
}

bool Console::Confirm(std::string_view question) {
    if (isatty(STDIN_FILENO) != 1) return false;
    ClearProgress();
    std::cout.flush();
    std::cerr << question << " [y/N] " << std::flush;
    std::string answer;
    std::getline(std::cin, answer);
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::string Console::AskSecret(std::string_view prompt) {
    if (isatty(STDIN_FILENO) != 1) throw std::runtime_error("there is no terminal to ask for it");
    ClearProgress();
    std::cerr << prompt << std::flush;
    std::string secret;
    {
        const EchoOff quiet;
        std::getline(std::cin, secret);
    }
    std::cerr << '\n';
    return secret;
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

void TextTable::PrintTo(Console& console) const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], DisplayWidth(row[i].text));
        }
    }
    bool heading = true;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::string padding(widths[i] - DisplayWidth(row[i].text), ' ');
            const Colour colour = heading ? Colour::Bold : row[i].colour;
            const bool last = i + 1 == row.size();
            if (i > 0) line += "  ";
            if (columns_[i] == Align::Right) line += padding;
            line += console.Coloured(colour, row[i].text);
            if (columns_[i] == Align::Left && !last) line += padding;
        }
        console.Print(line);
        heading = false;
    }
}

}  // namespace quillon
