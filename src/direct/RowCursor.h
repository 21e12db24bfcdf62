// One side of a table, row by row. Not installed.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "data/RowStream.h"
#include "direct/CellValue.h"
#include "direct/DirectResult.h"

namespace QuillonLib {

class Connection;

class RowCursor {
  public:
    // Stands before the first row.
    RowCursor(std::u16string_view sql, std::shared_ptr<Connection> connection)
        : stream_(sql, std::move(connection)) {}

    // False after the last row. Throws as RowStream::Next does.
    bool Next();
    // The row that Next stepped to; valid until it steps on.
    RowAt Current() const { return {&columns_, row_}; }
    std::uint64_t RowsRead() const noexcept { return read_; }

  private:
    RowStream stream_;
    std::shared_ptr<const RowBlock> block_;
    std::vector<PackedColumn> columns_;
    std::size_t row_ = 0;
    std::uint64_t read_ = 0;
};

// The row as a caller gets it.
DirectRow MakeRow(const std::vector<ColumnPair>& pairs, const RowAt& row);

}  // namespace QuillonLib
