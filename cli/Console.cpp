#include "cli/Console.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "cli/CharacterClass.h"
#include "cli/Interrupt.h"
#include "cli/Pager.h"
#include "cli/Printable.h"
#include "cli/Terminal.h"
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
    : resultIsTerminal_(IsTerminal(Stream::Result)),
      noteIsTerminal_(ObeysEscapes(Stream::Notes)),
      width_(WidthOf(Stream::Result)) {
    const char* noColour = std::getenv("NO_COLOR");
    const char* terminal = std::getenv("TERM");
    const bool dumb = terminal != nullptr && std::string_view(terminal) == "dumb";
    colours_ = ObeysEscapes(Stream::Result) && !dumb && (noColour == nullptr || *noColour == '\0');
}

Console::Console(std::vector<std::string>& notes) : kept_(&notes) {
}

Console::~Console() = default;

void Console::BeginPager() {
    pages_ = false;
    pagerCommand_ = PagerCommand();
    if (!pagerCommand_.empty()) pager_ = Pager::Start(pagerCommand_);
}

void Console::EndPager() {
    pages_ = false;
    const std::unique_ptr<Pager> pager = std::move(pager_);
    if (pager == nullptr || pager->Finish()) return;
    throw std::runtime_error("the pager '" + pagerCommand_ +
                             "' could not be run, and nothing was shown; --no-pager does without");
}

void Console::NoteFailedWrite() {
    if (std::cout || failedWrite_) return;
    failedWrite_ = {errno == 0 ? EIO : errno, std::generic_category()};
}

void Console::Write(std::string_view text) {
    ClearProgress();
    if (pages_) BeginPager();
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
    Hint(
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
    if (kept_ != nullptr) {
        kept_->emplace_back(lines);
        return;
    }
    ClearProgress();
    errno = 0;
    std::cout.flush();
    NoteFailedWrite();  // told by the next one that may throw
    NoteFromAnyThread(PrintableLines(lines));
}

void Console::Hint(std::string_view lines) {
    if (!quiet_) Note(lines);
}

void Console::NoteFromAnyThread(std::string_view line) {
    const std::lock_guard lock(notes_);
    std::cerr << std::string(line) + '\n';
}

void Console::Progress(int percent, std::string_view what) {
    if (!noteIsTerminal_ || quiet_ || statementsShown_ || pager_ != nullptr) return;
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
    if (kept_ != nullptr || !IsTerminal(Stream::Input)) return false;
    ClearProgress();
    Flush();
    std::cerr << Printable(question) << " [y/N] " << std::flush;
    const std::string answer = ReadAnswer().value_or("");
    return answer == "y" || answer == "Y" || answer == "yes";
}

std::string Console::AskSecret(std::string_view prompt) {
    if (kept_ != nullptr || !IsTerminal(Stream::Input))
        throw std::runtime_error("there is no terminal to ask for it");
    ClearProgress();
    const std::optional<std::string> secret = ReadUnseenAnswer(Printable(prompt));
    std::cerr << '\n';
    if (!secret) throw std::runtime_error("there is no answer");
    return *secret;
}

std::size_t DisplayWidth(std::string_view text) {
    const std::u16string units = QuillonLib::FromUtf8(text);
    std::size_t width = 0;
    for (std::size_t i = 0; i < units.size(); ++i) {
        char32_t point = units[i];
        const bool pair = point >= 0xD800 && point <= 0xDBFF && i + 1 < units.size();
        if (pair) point = 0x10000 + ((point - 0xD800) << 10) + (char32_t{units[++i]} - 0xDC00);
        width += static_cast<std::size_t>(TerminalWidth(point));
    }
    return width;
}

void TextTable::AddRow(std::vector<Cell> cells) {
    for (Cell& cell : cells)
        cell.text = Printable(cell.text);
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> TextTable::Widths() const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], DisplayWidth(row[i].text));
        }
    }
    return widths;
}

std::size_t TextTable::Width() const {
    std::size_t width = columns_.empty() ? 0 : 2 * (columns_.size() - 1);
    for (const std::size_t column : Widths())
        width += column;
    return width;
}

void TextTable::PrintTo(Console& console) const {
    const std::vector<std::size_t> widths = Widths();
    bool heading = heading_;
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
