// Rows as people read them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuillonLib.h"
#include "cli/Console.h"
#include "cli/Verdict.h"

namespace quillon {

using RowCells = std::vector<TextTable::Cell>;

// The rows of one kind. Differing rows are two lines each, one for each database.
struct RowList {
    std::string title;
    std::vector<std::string> columns;
    std::vector<RowCells> lines;
    std::int64_t shown = 0;   // rows
    std::int64_t total = -1;  // rows that there are; -1: not known
};

TextTable::Cell ShownCell(const QuillonLib::Value& value);
// One of the two lines of a differing row; a cell that differs is marked with "*" and colour.
TextTable::Cell ShownCell(const QuillonLib::Value& value, bool changed);

// "Different: 2 of 250", or "2 or more" where a `limit` was reached and nobody counted; then the
// rows.
void PrintRowList(Console& console, const RowList& rows, int limit);

// What the rows that are shown do not tell.
void NoteVerdict(Console& console, const Verdict& verdict);

}  // namespace quillon
