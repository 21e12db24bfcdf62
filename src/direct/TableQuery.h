// The SELECT that reads one side of a table. Not installed.
#pragma once

#include <string>
#include <string_view>

#include "direct/TableShape.h"

namespace QuillonLib {

// Reads the fields of all pairs, in key order where there is a key. `where`, if not empty, is a
// condition of the caller's.
//
// Rows come in an order that does not depend on collations, which may differ between the sides:
// text and binary keys by their bytes, shorter first where only zeros follow; text of different
// code pages, or of Unicode on one side alone, by its UTF-16 units. All other types come in their
// own order, which an index can give.
std::u16string TableQuery(const TablePlan& plan, int side, std::u16string_view where);

}  // namespace QuillonLib
