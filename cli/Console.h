// Where the front end writes to: results to standard output, everything else to standard error.
//
// Nothing that is shown to people holds a character that a terminal would obey: see Printable.
#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace quillon {

enum class Colour { None, Red, Green, Yellow, Bold, Dim };

// Standard output cannot be written to. Beside std::runtime_error, as no command can do anything
// about it.
class OutputFailure : public std::exception {
  public:
    explicit OutputFailure(std::error_code cause)
        : cause_(cause), what_("cannot write to standard output: " + cause.message()) {}
    const char* what() const noexcept override { return what_.c_str(); }
    // The reader of a pipe has seen enough, as "head" does: nothing to complain of.
    bool ReaderIsGone() const { return cause_ == std::errc::broken_pipe; }

  private:
    std::error_code cause_;
    std::string what_;
};

// Text that is ready for the terminal; see Console::Coloured.
class StyledText {
  public:
    const std::string& Text() const { return text_; }

  private:
    friend class Console;
    friend class TextTable;
    explicit StyledText(std::string text) : text_(std::move(text)) {}
    std::string text_;
};

class Pager;
class StatementLog;

class Console {
  public:
    Console();
    // One for work in the background, in a thread of its own: notes are kept in a list that
    // outlives it, there is no progress line, and nobody to ask. Nothing may be printed to it.
    explicit Console(std::vector<std::string>& notes);
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // What goes to standard output may be kept in a buffer; each of these throws OutputFailure when
    // something that was written, now or before, cannot go out.
    //
    // A line of the result, as Printable shows it.
    void Print(std::string_view line = {});
    void Print(const StyledText& line);
    // Bytes that another program is to read: as they are. On a terminal, where they can only be
    // looked at, as Printable shows their lines.
    void PrintData(std::string_view bytes);
    void Flush();

    // The places of a line of the result; absent where it goes to no terminal.
    std::optional<std::size_t> Width() const { return width_; }
    // A result that is to come is shown by the person's pager (Pager.h), where it goes to a
    // terminal and there is one.
    void PageResult() { pages_ = resultIsTerminal_; }
    // Waits until the person has seen enough. Throws std::runtime_error where the pager could not
    // be run, so that nothing was seen.
    void EndPager();

    // Lines for the person at the terminal: an error, or what is missing in the result. Line ends
    // (LF, CR LF) stay.
    void Note(std::string_view lines);
    // The same for what is good to know; not told where somebody wants it quiet.
    void Hint(std::string_view lines);
    // One line that is printable as it is, while other threads may note something, too.
    void NoteFromAnyThread(std::string_view line);
    // Replaces the line before it; shown only on a terminal. Any other output clears it first.
    void Progress(int percent, std::string_view what);
    void ClearProgress();
    // From now on no hints and no progress.
    void BeQuiet() { quiet_ = true; }
    // What the command's connections do is told there. Where it is `shown` here as well, there is
    // no progress.
    void LogTo(std::shared_ptr<StatementLog> log, bool shown) {
        log_ = std::move(log);
        statementsShown_ = shown;
    }
    const std::shared_ptr<StatementLog>& Log() const { return log_; }

    // The text as Printable shows its lines, in a colour where standard output is a terminal that
    // wants it (NO_COLOR is respected).
    StyledText Coloured(Colour colour, std::string_view lines) const;

    // A question answered by "y" or "yes". False where there is nobody to ask.
    bool Confirm(std::string_view question);
    // A text typed without echo. Throws std::runtime_error where there is nobody to ask, or no
    // answer.
    std::string AskSecret(std::string_view prompt);

  private:
    void Write(std::string_view text);
    void NoteFailedWrite();
    void BeginPager();

    std::vector<std::string>* kept_ = nullptr;  // of work in the background
    bool resultIsTerminal_ = false;
    bool noteIsTerminal_ = false;
    bool colours_ = false;
    bool progressShown_ = false;
    std::optional<std::size_t> width_;
    bool quiet_ = false;
    bool pages_ = false;
    std::string pagerCommand_;
    std::unique_ptr<Pager> pager_;
    bool statementsShown_ = false;
    std::mutex notes_;  // one line at a time
    std::shared_ptr<StatementLog> log_;
    std::error_code failedWrite_;  // the first one
};

// All of standard input. Throws Interruption when a signal comes before its end, std::runtime_error
// when it cannot be read.
std::string ReadAllInput();

// Columns of text, aligned by what a terminal shows: a wide character takes two places, a combining
// one none.
class TextTable {
  public:
    enum class Align { Left, Right };
    struct Cell {
        std::string text;  // shown as Printable shows it
        Colour colour = Colour::None;
    };

    explicit TextTable(std::vector<Align> columns) : columns_(std::move(columns)) {}
    void AddRow(std::vector<Cell> cells);
    void HasNoHeading() { heading_ = false; }
    // The places of its longest line, blanks at its end among them.
    std::size_t Width() const;
    // The first row is the heading. Stops with Interruption when a signal comes.
    void PrintTo(Console& console) const;

  private:
    std::vector<std::size_t> Widths() const;

    std::vector<Align> columns_;
    bool heading_ = true;
    std::vector<std::vector<Cell>> rows_;
};

// The places that a terminal gives to a text in UTF-8.
std::size_t DisplayWidth(std::string_view text);

}  // namespace quillon
