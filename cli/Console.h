// Where the front end writes to: results to standard output, everything else to standard error.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace quillon {

enum class Colour { None, Red, Green, Yellow, Bold, Dim };

class Console {
  public:
    Console();

    // A line of the result.
    void Print(std::string_view line = {});
    void Flush();
    // A line for the person at the terminal: an explanation, an error.
    void Note(std::string_view line);
    // Replaces the line before it; shown only on a terminal. Any other output clears it first.
    void Progress(int percent, std::string_view what);
    void ClearProgress();

    // The text in a colour, where standard output is a terminal that wants it (NO_COLOR is
    // respected).
    std::string Coloured(Colour colour, std::string_view text) const;

    // A question answered by "y" or "yes". False where there is nobody to ask.
    bool Confirm(std::string_view question);
    // A text typed without echo. Throws std::runtime_error where there is nobody to ask.
    std::string AskSecret(std::string_view prompt);

  private:
    bool resultIsTerminal_;
    bool noteIsTerminal_;
    bool colours_;
    bool progressShown_ = false;
};

// Columns of text, aligned by what a terminal shows: a wide character takes two places, a combining
// one none.
class TextTable {
  public:
    enum class Align { Left, Right };
    struct Cell {
        std::string text;
        Colour colour = Colour::None;
    };

    explicit TextTable(std::vector<Align> columns) : columns_(std::move(columns)) {}
    void AddRow(std::vector<Cell> cells) { rows_.push_back(std::move(cells)); }
    // The first row is the heading.
    void PrintTo(Console& console) const;

  private:
    std::vector<Align> columns_;
    std::vector<std::vector<Cell>> rows_;
};

// The places that a terminal gives to a text in UTF-8.
std::size_t DisplayWidth(std::string_view text);

}  // namespace quillon
