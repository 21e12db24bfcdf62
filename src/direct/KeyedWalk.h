// Merges the two sides of a table that has a key. Not installed.
#pragma once

#include "direct/Outlet.h"
#include "direct/RowCursor.h"
#include "direct/RowEncoder.h"
#include "direct/TableShape.h"

namespace QuillonLib {

// One side, with the key of its row. Holds the server to its promise: a row that does not come
// behind the one before it is an Error (Comparison) that names table, side and key.
class KeyedSide {
  public:
    KeyedSide(const TablePlan& plan, int side, RowCursor& cursor);

    bool Next();
    bool AtEnd() const noexcept { return atEnd_; }
    RowAt Row() const { return cursor_.Current(); }
    std::size_t RowsInHand() const noexcept { return cursor_.RowsInHand(); }
    const std::string& Key() const noexcept { return key_; }

  private:
    const TablePlan& plan_;
    int side_;
    RowCursor& cursor_;
    KeyEncoder encoder_;
    std::string key_, previous_;
    bool first_ = true;
    bool atEnd_ = false;
};

// Counts in `result`, and tells `outlet` of every difference.
void WalkKeyed(const TablePlan& plan, const DirectEquality& equality, RowCursor& rows1,
               RowCursor& rows2, DirectTableResult& result, Outlet& outlet);

}  // namespace QuillonLib
