// Cells of rows in the report.
#pragma once

#include "cli/JsonWriter.h"
#include "direct/DirectResult.h"

namespace quillon {

// Texts beyond so many units are cut; the report says so.
inline constexpr std::size_t LongestShown = 20000;

// null, a text, or {"t": text, "from": units left out before it, "of": units that there are} where
// the text is long. `column`: of the side that the cell is of.
void WriteCell(JsonWriter& json, const QuillonLib::ColumnFacts& column,
               const QuillonLib::Value& cell);
// The same of the two cells of a pair that differs: what is left out is alike in both, or lies
// behind what is shown.
void WriteCells(JsonWriter& json1, JsonWriter& json2, const QuillonLib::DirectColumn& column,
                const QuillonLib::Value& cell1, const QuillonLib::Value& cell2);

}  // namespace quillon
