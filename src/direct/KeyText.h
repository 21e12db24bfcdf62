// Keys for people to read. Not installed.
#pragma once

#include <string>

#include "direct/CellValue.h"
#include "direct/TableShape.h"

namespace QuillonLib {

// "(1, 'a', 0x00FF, NULL)".
std::u16string KeyText(const TablePlan& plan, const RowAt& row, int side);

}  // namespace QuillonLib
