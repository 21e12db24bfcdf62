// Compares a table without a key: as two bags of whole rows. Not installed.
#pragma once

#include <cstddef>

#include "direct/Outlet.h"
#include "direct/RowCursor.h"
#include "direct/RowEncoder.h"
#include "direct/TableShape.h"

namespace QuillonLib {

inline constexpr std::size_t KeylessRoom = std::size_t{12} << 20;  // bytes, for each side

// A row that one side has n times more often than the other is only in that side n times; none
// differs. `room`: bytes of rows kept in memory for each side; the rest waits in temporary files.
void WalkKeyless(const TablePlan& plan, const DirectEquality& equality, RowCursor& rows1,
                 RowCursor& rows2, DirectTableResult& result, Outlet& outlet,
                 std::size_t room = KeylessRoom);

}  // namespace QuillonLib
