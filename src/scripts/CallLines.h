// The call lines of a script: one EXEC for each row of a row set.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

#include "data/Recordset.h"
#include "scripts/TextRun.h"

namespace QuillonLib {

// Appends one line for each row: `command` ("EXEC prcTmp_QVX_Insert ", with its blank), then the
// literals of the given fields in the given order, joined with ", ". The lines are joined with
// CR LF, with no line end after the last. The cursor of the row set does not move.
// Throws Error ItemNotFound for a field that is not there.
void AppendCallLines(std::u16string& out, std::u16string_view command, const Recordset& rows,
                     std::span<const std::size_t> fields);
void AppendCallLines(TextRun& out, std::u16string_view command, const Recordset& rows,
                     std::span<const std::size_t> fields);

}  // namespace QuillonLib
