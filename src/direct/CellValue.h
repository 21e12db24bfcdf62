// What a packed cell is worth, whatever the type of its column. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "data/PackedRows.h"
#include "direct/ColumnPair.h"
#include "direct/Moments.h"

namespace QuillonLib {

// The columns of a block, and one row of it.
struct RowAt {
    const std::vector<PackedColumn>* columns = nullptr;
    std::size_t row = 0;

    const PackedColumn& Column(std::size_t field) const { return (*columns)[field]; }
    bool IsNull(std::size_t field) const { return Column(field).IsNull(row); }
};

// Each reads a cell that is not null, of a column of that class.
std::int64_t IntegerAt(const PackedColumn& column, std::size_t row);
double FloatAt(const PackedColumn& column, std::size_t row);
Moment MomentAt(const PackedColumn& column, std::size_t row);
// The digits of any exact number; integers and money are written into `scratch`.
std::string_view DigitsAt(const PackedColumn& column, std::size_t row, std::string& scratch);

// The text of a cell of text. Bytes of a code page are decoded into `scratch`; false where that
// cannot be done (`text` is without meaning then).
bool TextAt(const PackedColumn& column, std::size_t row, const CodePage* page,
            std::u16string& scratch, std::u16string_view& text);

// The error of bytes that are no text of their code page.
[[noreturn]] void ThrowNoText(const ColumnPair& pair, int side);

}  // namespace QuillonLib
