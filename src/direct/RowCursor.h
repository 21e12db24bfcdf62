// One side of a table, row by row. Not installed.
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include "direct/CellValue.h"
#include "direct/DirectResult.h"
#include "direct/SideReader.h"
#include "direct/TableShape.h"

namespace QuillonLib {

class Connection;

class RowCursor {
  public:
    // Has `reader` send the query of that side. Both must outlive the cursor. Stands before the
    // first row.
    RowCursor(const TablePlan& plan, int side, std::u16string_view where, SideReader& reader,
              std::shared_ptr<Connection> connection);
    ~RowCursor() { reader_.Stop(); }
    RowCursor(const RowCursor&) = delete;
    RowCursor& operator=(const RowCursor&) = delete;

    // False after the last row. Throws as SideReader::Next does, and Error Comparison where the
    // table is no longer declared as planned.
    bool Next() {
        if (block_ == nullptr || ++row_ == rows_) return NextBlock();
        return true;
    }
    // The row that Next stepped to; valid until it steps on.
    RowAt Current() const { return {&block_->Columns(), row_}; }
    // Rows from the current one on that lie behind it in Current()'s columns, itself included.
    std::size_t RowsInHand() const noexcept { return rows_ - row_; }

  private:
    bool NextBlock();
    void RequirePlannedKinds() const;

    const TablePlan& plan_;
    int side_;
    SideReader& reader_;
    std::shared_ptr<const RowBlock> block_;
    std::size_t row_ = 0;
    std::size_t rows_ = 0;  // of the block
};

// The row as a caller gets it.
DirectRow MakeRow(const std::vector<ColumnPair>& pairs, const RowAt& row);

}  // namespace QuillonLib
