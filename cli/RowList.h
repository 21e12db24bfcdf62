// The rows of one kind as `rows` shows them: a table, or, where that is too wide, a list of columns
// for each row.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "cli/Console.h"

namespace quillon {

// Differing rows are two lines each, one for each database, and have a column in front with its
// number; a cell that differs is marked with "*" and yellow.
struct RowList {
    bool both = false;  // of differing rows
    std::vector<std::string> columns;
    std::vector<bool> key;  // by column: rows are matched by it
    std::vector<std::vector<TextTable::Cell>> lines;
};

TextTable AsTable(const RowList& rows);

// Of a differing row the columns of the key and those that differ, unless it is `full`.
//
// `width`: the places of a line; a value that takes more is cut in its middle, or in front of what
// differs, and its length is told. Absent, or `full`: no value is cut.
void PrintVertically(Console& console, const RowList& rows, bool full,
                     std::optional<std::size_t> width);

// A text that takes no more places than `width`: without its middle, in place of which stands how
// many characters it has in all. Never narrower than 24 places. `at`: the character from which on
// somebody wants to see it.
std::string CutToWidth(const std::string& text, std::size_t width, std::size_t at = 0);

}  // namespace quillon
