// Walking through the cells that wait to be packed. Not installed.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "data/RowPacker.h"

namespace QuillonLib {

inline bool IsNull(std::ptrdiff_t indicator) {
    return indicator == StagedColumn::NullIndicator;
}

// Steps through the cells of a staged column, null cells included.
class CellReader {
  public:
    explicit CellReader(const StagedColumn& column)
        : column_(column), next_(column.IsLong() ? column.pool.data() : column.cells.get()) {}

    const std::uint8_t* Next(std::size_t row) {
        const std::uint8_t* cell = next_;
        const std::ptrdiff_t length = column_.indicators[row];
        next_ += column_.IsLong() ? static_cast<std::size_t>(std::max<std::ptrdiff_t>(length, 0))
                                  : column_.width;
        return cell;
    }

  private:
    const StagedColumn& column_;
    const std::uint8_t* next_;
};

}  // namespace QuillonLib
