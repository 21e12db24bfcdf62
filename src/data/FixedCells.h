// Packs the cells of fixed size: numbers, dates, identifiers. Not installed.
#pragma once

#include <cstddef>
#include <cstdint>

#include "data/RowPacker.h"

namespace QuillonLib {

// Bytes of a packed cell, 0 for a kind of variable length.
std::size_t FixedSize(ValueKind kind);

// Packs the first `rows` cells at `out`, which has room for them; null cells become zero. Throws
// Error DataAccess for money that is no number.
void PackFixedColumn(const StagedColumn& column, std::size_t rows, bool anyNull, std::uint8_t* out);

}  // namespace QuillonLib
