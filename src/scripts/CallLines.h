// The call lines of a script: one EXEC for each row of a row set.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "data/Recordset.h"

namespace QuillonLib {

// Call lines that are still to be written: what is kept until their place in a script is known is
// the packed rows, not the text. No rows: no lines.
struct CallLines {
    std::shared_ptr<Recordset> Rows;
    std::vector<std::size_t> Fields;

    bool Empty() const;
    // About as many characters as the lines will have after that command; seldom fewer.
    std::size_t ExpectedLength(std::u16string_view command) const;
};

// Whether the rows are read again after they are written.
enum class RowUse : std::uint8_t {
    Keep,
    Release,  // each block's memory is given back as soon as its lines are written
};

// Appends one line for each row: `command` ("EXEC prcTmp_QVX_Insert ", with its blank), then the
// literals of the fields in their order, joined with ", ". The lines are joined with CR LF, with
// no line end after the last. The cursor of the row set does not move.
// Throws Error ItemNotFound for a field that is not there.
void AppendCallLines(std::u16string& out, std::u16string_view command, const CallLines& lines,
                     RowUse use);

// The lines of two scripts from the same rows, in one walk. Most cells of rows that differ are
// equal on both sides; their literals are made once.
void AppendCallLinePairs(std::u16string& firstOut, std::u16string& secondOut,
                         std::u16string_view command, const CallLines& first,
                         const CallLines& second, RowUse use);

// Makes room for a script of so many characters; more can be appended.
void ReserveScript(std::u16string& script, std::size_t length);

}  // namespace QuillonLib
