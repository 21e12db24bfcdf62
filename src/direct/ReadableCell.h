// The cells of a direct comparison as people read them.
#pragma once

#include "catalog/CatalogFacts.h"
#include "core/Export.h"
#include "data/Value.h"

namespace QuillonLib {

// `cell`: of a DirectRow, in the column that `column` describes. Text of a code page becomes a
// String, but stays Bytes where no text has them; a sql_variant becomes the String of an expression
// in SQL that is worth its base value, type included, or stays Bytes; all other cells are handed
// on.
QUILLON_API Value ReadableCell(const ColumnFacts& column, const Value& cell);

}  // namespace QuillonLib
